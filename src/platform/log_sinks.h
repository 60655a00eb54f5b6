#pragma once

#include <string_view>

namespace zt::platform {

enum class LogLevel { default_, debug, info, error, fault };

/// A system log that stores level, subsystem and category of an entry as separate fields. Callable from any thread.
class UnifiedLog {
 public:
  virtual ~UnifiedLog() = default;

  virtual void write(LogLevel level, std::string_view subsystem, std::string_view category,
                     std::string_view message) = 0;
};

/// A log of plain lines. Callable from any thread; lines do not interleave.
class PlainLog {
 public:
  virtual ~PlainLog() = default;

  /// Writes one entry; the sink adds date, time and process.
  virtual void write(std::string_view message) = 0;
};

/// Where the messages of a run go: to `unified` if the machine has one, otherwise to `plain`.
struct LogSinks {
  UnifiedLog* unified;  ///< null if there is none
  PlainLog& plain;
};

}  // namespace zt::platform
