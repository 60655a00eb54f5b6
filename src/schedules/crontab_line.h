#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/calendar.h"

namespace zt {

/// One schedule: a line of the crontab as the application writes it, and its fields. The fields are
/// minute, hour, day of month (which occurrences of the weekday in the month are meant), month
/// (never looked at), day of week, command. They are read by the application's own rules, which are
/// stricter and simpler than those of crontab(5): see runsAt().
///
/// Asking for a field that the line does not have is a programming error and aborts. readCrontabLines() gives
/// only lines that have all six.
class CrontabLine {
 public:
  static constexpr std::size_t fieldCount = 6;
  enum Field : std::size_t { minute, hour, dayOfMonth, month, dayOfWeek, command };

  /// `line` is without its line end. It is split at every single TAB; empty parts are kept.
  explicit CrontabLine(std::string line);

  const std::string& crontabLine() const { return crontabLine_; }
  const std::vector<std::string>& parts() const { return parts_; }
  const std::string& part(Field field) const;

  /// Whether day of week and day of month both accept the local day of `time`. See matching.h.
  bool runsOnDay(Instant time, const Calendar& calendar) const;

  /// The start of the first minute, at or after the start of the minute of `reference`, at which
  /// the line fires; nullopt when it never does. See next_event.h.
  std::optional<Instant> nextRunDate(Instant reference, const Calendar& calendar) const;

 private:
  std::string crontabLine_;
  std::vector<std::string> parts_;
};

/// Reads a whole text as a decimal number with at most one sign; nullopt for anything else and for
/// what 64 bits do not hold.
std::optional<std::int64_t> readInteger(std::string_view text);

}  // namespace zt
