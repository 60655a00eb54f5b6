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
  /// Whether a text can be handed to a program as an argument: a longer one cannot (execve(2), "Limits on
  /// size of arguments and environment"), and one with a NUL in it would arrive cut short.
  static bool isArgument(std::string_view text) {
    return text.size() < std::size_t{128} * 1024 && text.find('\0') == text.npos;
  }

  virtual ~Commands() = default;

  /// Runs a program to completion. Gives the lines of its standard output and standard error,
  /// merged, without empty ones; nullopt when they are not valid UTF-8. Its exit status is ignored.
  virtual std::optional<std::vector<std::string>> shell(const std::string& path,
                                                        const std::vector<std::string>& arguments) = 0;

  /// Starts a program and leaves it running.
  virtual void launch(const std::string& path, const std::vector<std::string>& arguments) = 0;
};

}  // namespace zt
