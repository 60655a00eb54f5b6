#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zt::platform {

/// A program to run. With an argument that the system cannot pass (see Task::isArgument()) it cannot be started.
struct Command {
  std::string path;
  std::vector<std::string> arguments;
  std::optional<std::vector<std::string>> environment = std::nullopt;  ///< nullopt: that of this process
};

/// Runs other programs. A program that cannot be started ends this one: one line on standard error names it and the
/// reason, and the process aborts. A program of a bundle that another user can have put there is not started (see
/// distrust()); that is logged.
class Commands {
 public:
  virtual ~Commands() = default;

  /// Runs a program to completion. Gives the lines of its standard output and standard error, merged, without empty
  /// ones; none if they are not valid UTF-8. nullopt if it was killed, by the tool because it took too long or
  /// printed too much, or by something else; or if it was not started. Its exit status is ignored.
  virtual std::optional<std::vector<std::string>> run(const Command& command) = 0;

  /// Starts a program and leaves it running, in a session of its own (setsid(2)): neither the keys nor the end of the
  /// terminal that this process was started at reach it. It shares the standard streams of this process. Where the
  /// machine lists what is running, people see it under `description`, a line of printable UTF-8.
  virtual void start(const Command& command, const std::string& description) = 0;
};

}  // namespace zt::platform
