#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/calendar.h"
#include "platform/terminal.h"
#include "ztschedules/history.h"
#include "ztschedules/schedule_entry.h"

namespace zt {

// The ways to show the schedules of a crontab. Each gives whole lines of printable text, with colours if the terminal
// has them. They fit into its columns, if it has at least 28; without a limit tables are as wide as their texts.

/// The next run of each schedule, the earliest first, and what became of its last one if `last` is given.
std::string nextRunsView(std::span<const ScheduleEntry> entries, const std::optional<std::vector<PastRun>>& last,
                         Instant now, const Calendar& calendar, const platform::Terminal& terminal);

/// The time of the next run in seconds since 1970; empty if there is none.
std::string nextRunView(std::span<const ScheduleEntry> entries);

/// The next `count` runs of all schedules, in order. A time that comes twice is two runs.
std::string runsView(std::span<const ScheduleEntry> entries, std::size_t count, Instant now, const Calendar& calendar,
                     const platform::Terminal& terminal);

/// A calendar of a month in which the days with runs are highlighted: in colour, or else by an asterisk.
std::string monthView(std::span<const ScheduleEntry> entries, std::chrono::year_month month, const Calendar& calendar,
                      const platform::Terminal& terminal);

/// A JSON array (RFC 8259, in ASCII) with an object for each entry: "lineNumber"; "line", its text, with U+FFFD for
/// what is not UTF-8; "copy", its name; "due"; "next", in seconds since 1970, and "nextLocal", by RFC 3339, or null;
/// "schedule"; "last", when its last run was due, in seconds since 1970, and "lastResult", as in historyJson(), or
/// null; "problem", the error, and "warning", or null.
std::string jsonView(std::span<const ScheduleEntry> entries, std::span<const PastRun> last, const Calendar& calendar);

/// What became of the runs, and a last line with how many of each there are. Unless `all` is set, shows those that are
/// a problem, and the last one of each schedule.
std::string historyView(std::span<const PastRun> runs, bool all, const Calendar& calendar,
                        const platform::Terminal& terminal);

/// The same as a JSON array with an object for each run: "due", in seconds since 1970; "dueLocal", by RFC 3339;
/// "lineNumber"; "copy", its name; "result", which is "started", "failed", "missed", "not known" or "not due"; "delay",
/// in seconds, and "reason", or null.
std::string historyJson(std::span<const PastRun> runs, const Calendar& calendar);

/// The errors and warnings; empty if there are none.
std::string problemsView(std::span<const ScheduleEntry> entries, const platform::Terminal& terminal);

}  // namespace zt
