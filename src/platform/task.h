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
/// dispositions, an empty signal mask and this process's environment, unless it is given another, and nothing else.
///
/// A Task refers to its child, and a copy refers to the same child. The last copy closes the pipes and files of its
/// streams; the child runs on, and its handler is still called. A child that has exited remains a zombie until this
/// process ends, unless a handler or waitUntilExit() waits for it, or hasExited() finds that out.
///
/// Only one thread at a time may set up and launch a task. Setting anything after the launch, and a second launch, are
/// programming errors and abort.
class Task {
 public:
  /// What a standard stream of the child is: inherited, a pipe, or an open file.
  using Stream = std::variant<std::monostate, std::shared_ptr<Pipe>, std::shared_ptr<FileHandle>>;
  using TerminationHandler = std::function<void(Task&)>;

  /// The process group of the child (setpgid(2), setsid(2)). A group of its own can be killed as a whole, and the keys
  /// of a terminal do not reach it. With a session of its own, the end of the terminal does not reach it either.
  enum class Group { inherited, own, inOwnSession };

  /// Whether a child can be given `text` as an argument: the system has a greatest length, and a NUL would end it.
  static bool isArgument(std::string_view text);

  /// `launchPath` is executed directly, without a shell or a search of PATH. `arguments` follow it in the argument list
  /// of the child; nullopt means none.
  explicit Task(std::string launchPath = {}, std::optional<std::vector<std::string>> arguments = std::nullopt);

  void setLaunchPath(std::string path);
  void setArguments(std::optional<std::vector<std::string>> arguments);

  /// Texts of the form NAME=value; nullopt means the environment of this process.
  void setEnvironment(std::optional<std::vector<std::string>> environment);
  void setGroup(Group group);

  void setStandardInput(Stream stream);
  void setStandardOutput(Stream stream);
  void setStandardError(Stream stream);
  const Stream& standardOutput() const;

  /// Replaces an earlier handler; empty means none. It is called once, on a background thread of its own, after the
  /// child has exited, and is destroyed then. It must not throw.
  void setTerminationHandler(TerminationHandler handler);

  /// Starts the child and closes the pipe ends that it has been given, so each serves one child; files stay open. If
  /// the child cannot be started, this process ends: one line on standard error with the path and the reason, then
  /// abort.
  void launch();

  /// The number of the child's process; 0 before the launch.
  std::int32_t processIdentifier() const;

  /// Blocks until the child has exited. Callable on any thread, any number of times. It waits for the launch as well,
  /// so for a task in a chain; a task that is never launched blocks it for good.
  void waitUntilExit();

  /// Whether the child has exited. Does not block.
  bool hasExited();

  /// Kills the child and all processes of its group, which has to be its own. The group is killed even if the child has
  /// exited.
  void killGroup();

  /// The exit status, or the number of the signal that killed the child. Valid in the termination handler, and when
  /// waitUntilExit() has returned or hasExited() is true.
  std::int32_t terminationStatus() const;

  /// Whether a signal killed the child. Valid at the same times.
  bool wasKilled() const;

 private:
  struct State;

  /// The state before the launch; aborts after it.
  State& configuration();

  std::shared_ptr<State> state_;
};

}  // namespace zt::platform
