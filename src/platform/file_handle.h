#pragma once

#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace zt::platform {

/// Takes over one open file descriptor and closes it when it goes. What fails here ends the process: one line on
/// standard error, then abort.
class FileHandle {
 public:
  using ReadabilityHandler = std::function<void(FileHandle&)>;

  explicit FileHandle(int fileDescriptor) noexcept : fileDescriptor_(fileDescriptor) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle();

  /// The bytes that can be read now, at most 64 KiB. Blocks until there are some; empty at end of file.
  /// While a readability handler is set, only that may call it.
  std::string availableData();

  /// Has `handler` called on a background thread whenever there is something to read, which it is to take
  /// with availableData(), and a last time at end of file. It must not throw. Takes the place of a handler
  /// that was set before; empty stops the calls. Returns, as the destructor does, when no call of the former
  /// handler is running any more.
  ///
  /// Handlers are set, and the file is closed, by one thread at a time. A handler may itself stop its calls
  /// or let go of the file handle, without any wait; setting another one there is a programming error and
  /// aborts.
  void setReadabilityHandler(ReadabilityHandler handler);

  /// Stops the calls and closes the descriptor before its owner goes; may be called again.
  void closeFile() noexcept;

  /// -1 once closed.
  int fileDescriptor() const noexcept { return fileDescriptor_; }

 private:
  void callWhenReadable(const ReadabilityHandler& handler, const std::stop_token& stop);

  int fileDescriptor_;
  bool atEndOfFile_ = false;
  std::mutex changingReader_;  // guards reader_: the new thread may stop its calls before it is stored there
  std::jthread reader_;
};

/// An anonymous pipe. Both ends are close-on-exec.
class Pipe {
 public:
  /// Where no pipe can be made, the process ends in the same way.
  Pipe();

  FileHandle& fileHandleForReading() noexcept { return reading_; }
  FileHandle& fileHandleForWriting() noexcept { return writing_; }

 private:
  struct Ends {
    int reading, writing;
  };
  explicit Pipe(Ends ends) noexcept : reading_(ends.reading), writing_(ends.writing) {}
  static Ends open();

  FileHandle reading_;
  FileHandle writing_;
};

}  // namespace zt::platform
