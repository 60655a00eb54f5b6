#pragma once

#include <array>
#include <bitset>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "schedules/crontab_line.h"

namespace zt {

/// The ranges of days that a day-of-month field can name. Each stands for an occurrence of a weekday in its month: the
/// first, the second, the third, and the last range for both the fourth and the fifth.
inline constexpr std::array<std::string_view, 4> dayRanges = {"1-7", "8-14", "15-21", "22-31"};

/// How the text of a time field was read.
enum class FieldReading : std::uint8_t {
  complete,  ///< the field means what it says
  partial,   ///< a day field of which only a part means anything
  ignored,   ///< a month other than "*"
  // The field is invalid, and the line never fires:
  hasBlank,       ///< a minute or hour that contains a blank
  multipleTimes,  ///< a minute or hour that crontab(5) would read as a list, range or step
  notANumber,     ///< any other minute or hour that is not a number
  outOfRange,     ///< a number that is no minute or hour
  noDay           ///< a day field that names no day
};

/// Whether it is one of the invalid ones.
constexpr bool isInvalid(FieldReading reading) {
  return reading >= FieldReading::hasBlank;
}

/// What the time fields of a crontab line mean: the local minutes at which it fires.
struct Schedule {
  std::optional<std::chrono::minutes> timeOfDay;  ///< since midnight on the wall clock
  std::bitset<7> weekdays;                        ///< by std::chrono::weekday::c_encoding(): bit 0 is Sunday
  std::bitset<dayRanges.size()> ranges;           ///< of dayRanges; a day has to be in one of them, too
  std::array<FieldReading, CrontabLine::command> readings{};  ///< of the fields before the command

  /// Whether there is any minute at which it fires.
  bool canFire() const;

  /// Whether it accepts a local day.
  bool firesOn(std::chrono::local_days day) const;

  /// Whether it fires in the minute that contains a local time.
  bool firesAt(LocalTime time) const;
};

/// The only reader of time fields. The application's rules are not those of crontab(5):
/// - Minute and hour are single decimal numbers, with at most one sign.
/// - Day of week is "*", or contains the digits of its days, from "0" for Sunday to "6". "1-5" therefore means Monday
///   and Friday, and "7" means no day.
/// - Day of month is "*", or contains one or more of dayRanges. "15" means no day.
/// - Month is ignored.
///
/// Needs the first five fields. See CrontabLine::part() for lines with fewer.
Schedule parse(const CrontabLine& line);

}  // namespace zt
