#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zt::platform {

/// Runs other programs. A program that cannot be started ends this one: one line on standard error names it and the
/// reason, and the process aborts. So does an argument that is none: see Task::isArgument().
class Commands {
 public:
  virtual ~Commands() = default;

  /// Runs a program to completion. Gives the lines of its standard output and standard error, merged, without empty
  /// ones; nullopt if they are not valid UTF-8. Its exit status is ignored.
  virtual std::optional<std::vector<std::string>> run(const std::string& path,
                                                      const std::vector<std::string>& arguments) = 0;

  /// Starts a program and leaves it running.
  virtual void start(const std::string& path, const std::vector<std::string>& arguments) = 0;
};

}  // namespace zt::platform
