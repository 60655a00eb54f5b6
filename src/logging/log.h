#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/log_sinks.h"

namespace zt {

/// Writes messages at five levels for one subsystem and category. If the machine has a unified log, the message is
/// stored there unchanged; otherwise it goes to the plain log after the name of its level. Callable from any thread;
/// failures to write are not reported.
class Log {
 public:
  /// The sinks have to outlive the log.
  Log(std::string subsystem, std::string category, platform::LogSinks sinks);

  /// The plain log reads these three as a format: a percent sign begins a directive, for which there is no argument.
  /// See expandPlainFormat().
  void default_(std::string_view message) const;
  void debug(std::string_view message) const;
  void info(std::string_view message) const;
  /// Both logs print these two unchanged.
  void error(std::string_view message) const;
  void fault(std::string_view message) const;

 private:
  struct OSLog {
    platform::UnifiedLog& sink;
    std::string subsystem;
    std::string category;
  };

  void write(platform::LogLevel level, std::string_view message, std::string_view plainEntry) const;

  std::optional<OSLog> osLog;
  platform::PlainLog& plain_;
};

}  // namespace zt
