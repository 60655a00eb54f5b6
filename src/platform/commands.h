#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zt {

/// Runs other programs. A program that cannot be started ends this one: one line on standard error
/// names it and the reason, and the process aborts.
class Commands {
 public:
  /// The most bytes that an argument can have on Linux, without the NUL at its end (execve(2), "Limits on
  /// size of arguments and environment").
  static constexpr std::size_t longestArgument = std::size_t{128} * 1024 - 1;

  /// Whether a text can be an argument: not longer than that, and without a NUL, which would cut it short.
  static bool isArgument(std::string_view text) {
    return text.size() <= longestArgument && text.find('\0') == text.npos;
  }

  virtual ~Commands() = default;

  /// Runs a program to completion. Gives the lines of its standard output and standard error,
  /// merged, without empty ones; nullopt when they are not valid UTF-8. Its exit status is ignored.
  virtual std::optional<std::vector<std::string>> shell(const std::string& path,
                                                        const std::vector<std::string>& arguments) = 0;

  /// Starts a program and leaves it running.
  virtual void spawn(const std::string& path, const std::vector<std::string>& arguments) = 0;
};

}  // namespace zt
