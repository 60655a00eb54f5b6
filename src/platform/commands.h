#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zt {

/// Runs other programs. A program that cannot be started ends this one: one line on standard error
/// names it and the reason, and the process aborts.
class Commands {
 public:
  /// An argument of this many bytes or more cannot be handed to a program (execve(2), "Limits on
  /// size of arguments and environment").
  static constexpr std::size_t argumentLimit = std::size_t{128} * 1024;

  virtual ~Commands() = default;

  /// Runs a program to completion. Gives the lines of its standard output and standard error,
  /// merged, without empty ones; nullopt when they are not valid UTF-8. Its exit status is ignored.
  virtual std::optional<std::vector<std::string>> shell(const std::string& path,
                                                        const std::vector<std::string>& arguments) = 0;

  /// Starts a program and leaves it running.
  virtual void launch(const std::string& path, const std::vector<std::string>& arguments) = 0;
};

}  // namespace zt
