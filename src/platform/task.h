#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/file_handle.h"

namespace zt {

/// One child process: configured, then launched once. The child gets descriptors 0 to 2, default
/// signal dispositions, an empty signal mask and this process's environment, and nothing else.
/// It runs on when its task goes.
class Task {
 public:
  /// What a standard stream of the child is: inherited, a pipe, or an open file.
  using Stream = std::variant<std::monostate, std::shared_ptr<Pipe>, std::shared_ptr<FileHandle>>;

  /// `path` is executed directly: no shell, no search of PATH.
  void setLaunchPath(std::string path) { launchPath_ = std::move(path); }
  /// What follows the program path in the child's argument list; nullopt is nothing.
  void setArguments(std::optional<std::vector<std::string>> arguments);

  void setStandardInput(Stream stream) { standardInput_ = std::move(stream); }
  void setStandardOutput(Stream stream) { standardOutput_ = std::move(stream); }
  void setStandardError(Stream stream) { standardError_ = std::move(stream); }
  const Stream& standardOutput() const { return standardOutput_; }

  /// Starts the child and closes this process's copies of the pipe ends that the child now has. A
  /// child that cannot be started ends this process: one line on standard error, then abort.
  void launch();

  /// Blocks until the child has exited; returns at once where none was launched or it has
  /// been waited for.
  void waitUntilExit();

  /// The child's exit status, or the number of the signal that killed it. Valid after
  /// waitUntilExit().
  std::int32_t terminationStatus() const { return terminationStatus_; }

 private:
  std::string launchPath_;
  std::vector<std::string> arguments_;
  Stream standardInput_;
  Stream standardOutput_;
  Stream standardError_;
  std::int32_t processIdentifier_ = 0;
  std::int32_t terminationStatus_ = 0;
};

}  // namespace zt
