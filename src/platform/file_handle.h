#pragma once

#include <string>

namespace zt {

/// Owns one open file descriptor and closes it when it goes.
class FileHandle {
 public:
  explicit FileHandle(int fileDescriptor) noexcept : fileDescriptor_(fileDescriptor) {}
  FileHandle(FileHandle&& other) noexcept;
  FileHandle& operator=(FileHandle&& other) noexcept;
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle();

  /// The bytes that can be read now. Blocks until there are some; empty at end of file.
  /// A read that fails ends the process: one line on standard error, then abort.
  std::string availableData();

  /// Closes the descriptor before its owner goes; may be called again.
  void closeFile() noexcept;

  /// -1 once closed.
  int fileDescriptor() const noexcept { return fileDescriptor_; }

 private:
  int fileDescriptor_;
};

/// An anonymous pipe. Both ends are close-on-exec. Where none can be made, the process ends in the same way.
class Pipe {
 public:
  Pipe();

  FileHandle& fileHandleForReading() noexcept { return reading_; }
  FileHandle& fileHandleForWriting() noexcept { return writing_; }

 private:
  FileHandle reading_;
  FileHandle writing_;
};

}  // namespace zt
