#include "platform/file_handle.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "platform/linux/background_thread.h"
#include "platform/linux/fatal.h"

namespace zt::platform {

FileHandle::~FileHandle() {
  closeFile();
  // Joinable only if the handler destroys this file handle: a thread cannot join itself.
  if (reader_.joinable()) reader_.detach();
}

std::string FileHandle::availableData() {
  std::array<char, std::size_t{64} * 1024> buffer;
  ssize_t count;
  do {
    count = ::read(fileDescriptor_, buffer.data(), buffer.size());
  } while (count < 0 && errno == EINTR);
  if (count < 0) fatal("cannot read from a pipe or file", errno);
  atEndOfFile_ = count == 0;
  return {buffer.data(), static_cast<std::size_t>(count)};
}

void FileHandle::setReadabilityHandler(ReadabilityHandler handler) {
  std::jthread previous;
  {
    const std::lock_guard lock(readerMutex_);
    reader_.request_stop();
    const bool isInHandler = reader_.get_id() == std::this_thread::get_id();
    if (isInHandler) {
      if (handler) std::abort();
      return;
    }
    previous.swap(reader_);
  }
  if (previous.joinable()) previous.join();
  if (!handler) return;

  const std::lock_guard lock(readerMutex_);
  reader_ = startBackgroundThread(
      [this, handler = std::move(handler)](const std::stop_token& stop) { callWhenReadable(handler, stop); });
}

void FileHandle::callWhenReadable(const ReadabilityHandler& handler, const std::stop_token& stop) {
  const FileHandle stopped(::eventfd(0, EFD_CLOEXEC));
  if (stopped.fileDescriptor() < 0) fatal("cannot watch a pipe or file", errno);
  const std::stop_callback wakePoll(stop, [&] { ::eventfd_write(stopped.fileDescriptor(), 1); });

  std::array<pollfd, 2> events{{{fileDescriptor_, POLLIN, 0}, {stopped.fileDescriptor(), POLLIN, 0}}};
  for (;;) {
    while (::poll(events.data(), events.size(), -1) < 0) {
      if (errno != EINTR) fatal("cannot watch a pipe or file", errno);
    }
    if (stop.stop_requested()) return;
    handler(*this);
    // The handler may have destroyed this file handle, which requests a stop. After that no member may be used, but the
    // token belongs to the thread.
    const bool mayBeDestroyed = stop.stop_requested();
    if (mayBeDestroyed || atEndOfFile_) return;
  }
}

void FileHandle::closeFile() noexcept {
  setReadabilityHandler(nullptr);
  // Not repeated after EINTR: Linux has closed the descriptor by then (close(2), NOTES).
  if (fileDescriptor_ >= 0) ::close(std::exchange(fileDescriptor_, -1));
}

Pipe::Pipe() : Pipe(open()) {}

Pipe::Ends Pipe::open() {
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) fatal("cannot make a pipe", errno);
  return {.reading = ends[0], .writing = ends[1]};
}

}  // namespace zt::platform
