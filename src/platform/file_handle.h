#pragma once

#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace zt::platform {

/// Owns one open file descriptor. Any failure here ends the process: one line on standard error, then abort.
class FileHandle {
 public:
  using ReadabilityHandler = std::function<void(FileHandle&)>;

  explicit FileHandle(int fileDescriptor) noexcept : fileDescriptor_(fileDescriptor) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle();

  /// The bytes that can be read now, at most 64 KiB. Blocks until there are some; empty at end of file. While a
  /// readability handler is set, only that handler may call this.
  std::string availableData();

  /// Calls `handler` on a background thread whenever there is something to read, and once more at end of file. It must
  /// read with availableData(), and must not throw. Replaces an earlier handler; an empty one stops the calls. Like the
  /// destructor, this returns when no call of the earlier handler is running any more.
  ///
  /// Only one thread at a time may set handlers or close the file. A handler may stop its own calls or destroy the file
  /// handle; neither waits. Setting another handler there is a programming error and aborts.
  void setReadabilityHandler(ReadabilityHandler handler);

  /// Stops the calls and closes the descriptor. May be called again.
  void closeFile() noexcept;

  /// -1 once closed.
  int fileDescriptor() const noexcept { return fileDescriptor_; }

 private:
  void callWhenReadable(const ReadabilityHandler& handler, const std::stop_token& stop);

  int fileDescriptor_;
  bool atEndOfFile_ = false;
  std::mutex readerMutex_;  // guards reader_: a handler may stop its calls before its thread is stored
  std::jthread reader_;
};

/// An anonymous pipe. Both ends are close-on-exec.
class Pipe {
 public:
  /// If no pipe can be made, the process ends as above.
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
