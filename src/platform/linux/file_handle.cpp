#include "platform/file_handle.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <utility>

#include "platform/linux/fatal.h"

namespace zt {

FileHandle::FileHandle(FileHandle&& other) noexcept : fileDescriptor_(std::exchange(other.fileDescriptor_, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  if (this != &other) {
    closeFile();
    fileDescriptor_ = std::exchange(other.fileDescriptor_, -1);
  }
  return *this;
}

FileHandle::~FileHandle() {
  closeFile();
}

// Not const: it moves the position from which the next call reads.
std::string FileHandle::availableData() {  // NOLINT(readability-make-member-function-const)
  std::array<char, std::size_t{64} * 1024> buffer;
  ssize_t count;
  do {
    count = ::read(fileDescriptor_, buffer.data(), buffer.size());
  } while (count < 0 && errno == EINTR);
  if (count < 0) fatal("cannot read from a pipe or file", errno);
  return {buffer.data(), static_cast<std::size_t>(count)};
}

void FileHandle::closeFile() noexcept {
  // Not repeated after EINTR: Linux has let go of the descriptor by then (close(2), NOTES).
  if (fileDescriptor_ >= 0) ::close(std::exchange(fileDescriptor_, -1));
}

Pipe::Pipe() : reading_(-1), writing_(-1) {
  std::array<int, 2> ends;
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) fatal("cannot make a pipe", errno);
  reading_ = FileHandle(ends[0]);
  writing_ = FileHandle(ends[1]);
}

}  // namespace zt
