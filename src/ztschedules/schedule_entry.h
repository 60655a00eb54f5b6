#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schedules/schedule.h"
#include "ztschedules/diagnostics.h"

namespace zt {

/// A marked line of a crontab, and what ztschedules shows of it.
struct ScheduleEntry {
  std::size_t number;   ///< of the line, from 1; empty lines count
  CrontabLine line;     ///< with any number of fields
  std::string copy{};   ///< the name of the copy
  Schedule schedule{};  ///< cannot fire if the tool drops the line
  Diagnostics diagnostics{};
  bool due = false;               ///< whether it fires in the current minute
  std::optional<Instant> next{};  ///< when it fires first, from the start of that minute on

  /// Whether copies are made when it fires, as far as is certain.
  bool makesCopies() const { return next && !diagnostics.error; }
};

/// The marked lines of a crontab's text in their order, as of `now`, without those comments that have no diagnostics.
/// The tool reads nothing of a text that is not valid UTF-8: that is the error of every line then.
std::vector<ScheduleEntry> readScheduleEntries(std::string_view crontab, Instant now, const Calendar& calendar);

}  // namespace zt
