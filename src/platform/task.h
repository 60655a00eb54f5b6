#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/file_handle.h"

namespace zt::platform {

/// One child process: configured, then launched once. The child gets descriptors 0 to 2, default signal
/// dispositions, an empty signal mask and this process's environment, and nothing else.
///
/// A Task refers to its child, and a copy refers to the same one. The slots own the pipes and files in
/// them until the last copy goes. The child runs on then, and a handler that is set is still called.
/// A child that has exited and that neither a handler nor waitUntilExit() waits for remains a zombie until
/// this process ends.
///
/// One thread at a time sets a task up and launches it. Setting anything after the launch, and a second
/// launch, are programming errors and abort.
class Task {
 public:
  /// What a standard stream of the child is: inherited, a pipe, or an open file.
  using Stream = std::variant<std::monostate, std::shared_ptr<Pipe>, std::shared_ptr<FileHandle>>;
  using TerminationHandler = std::function<void(Task&)>;

  /// Whether a child can be given `text` as an argument: the system has a greatest length, and a NUL would end it.
  static bool isArgument(std::string_view text);

  /// `launchPath` is executed directly: no shell, no search of PATH. `arguments` follow it in the child's
  /// argument list; nullopt is none.
  explicit Task(std::string launchPath = {}, std::optional<std::vector<std::string>> arguments = std::nullopt);

  void setLaunchPath(std::string path);
  void setArguments(std::optional<std::vector<std::string>> arguments);

  void setStandardInput(Stream stream);
  void setStandardOutput(Stream stream);
  void setStandardError(Stream stream);
  const Stream& standardOutput() const;

  /// Takes the place of a handler that was set before; empty is none. It is called once, on a background
  /// thread of its own, after the child has exited, and is let go of then. It must not throw.
  void setTerminationHandler(TerminationHandler handler);

  /// Starts the child and closes the pipe ends that the child now has, so that each serves one child; files
  /// stay open. A child that cannot be started ends this process: one line on standard error with its path and
  /// the reason, then abort.
  void launch();

  /// Blocks until the child has exited, on any thread and as often as wanted. It waits for the launch as
  /// well, as in a chain: a task that nobody launches blocks it for good.
  void waitUntilExit();

  /// The child's exit status, or the number of the signal that killed it. Valid in the termination handler
  /// and once waitUntilExit() has returned.
  std::int32_t terminationStatus() const;

 private:
  struct State;

  /// The state, as long as it may be changed.
  State& configuration();

  std::shared_ptr<State> state_;
};

}  // namespace zt::platform
