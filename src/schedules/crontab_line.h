#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/calendar.h"

namespace zt {

/// The text of one schedule: a line of the crontab as the application writes it, and its fields. parse() returns their
/// meaning as a Schedule.
///
/// Asking for a field that the line does not have is a programming error and aborts. readCrontabLines() gives only
/// lines that have all six.
class CrontabLine {
 public:
  static constexpr std::size_t fieldCount = 6;
  enum Field : std::size_t { minute, hour, dayOfMonth, month, dayOfWeek, command };

  /// `line` has no line terminator. It is split at every single TAB; empty parts are kept.
  explicit CrontabLine(std::string line);

  const std::string& crontabLine() const { return *crontabLine_; }
  /// Views of the text of the line, which its copies share.
  const std::vector<std::string_view>& parts() const { return parts_; }
  std::string_view part(Field field) const;

  /// Whether day of week and day of month both accept the local day of `time`.
  bool runsOnDay(Instant time, const Calendar& calendar) const;

  /// The start of the first minute, at or after the start of the minute of `reference`, at which the line fires;
  /// nullopt if it can never fire.
  std::optional<Instant> nextRunDate(Instant reference, const Calendar& calendar) const;

 private:
  std::shared_ptr<const std::string> crontabLine_;  // stays where it is when a line is moved or copied
  std::vector<std::string_view> parts_;
};

/// Whether the line fires in the minute that contains `time`.
bool runsAt(const CrontabLine& line, Instant time, const Calendar& calendar);

}  // namespace zt
