#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "platform/calendar.h"
#include "ztschedules/entry.h"

namespace zt {

// The ways to show the entries of a crontab. Each gives whole lines of printable text. `columns` is the width that
// tables have to fit in, which they do from 60 on.

/// The next run of each entry, the earliest first.
std::string nextRunsView(std::span<const Entry> entries, Instant now, const Calendar& calendar,
                         std::optional<std::size_t> columns);

/// The next `count` runs of all entries, in order.
std::string runsView(std::span<const Entry> entries, std::size_t count, Instant now, const Calendar& calendar,
                     std::optional<std::size_t> columns);

/// A calendar of a month with the days marked on which there are runs: in colour, or by a sign.
std::string monthView(std::span<const Entry> entries, std::chrono::year_month month, const Calendar& calendar,
                      bool inColor);

/// A JSON array (RFC 8259, in ASCII) of an object for each entry: "line", its text; "due"; "next", in seconds since
/// 1970, and "nextLocal", by RFC 3339, or null; "schedule"; "problem", or null.
std::string jsonView(std::span<const Entry> entries, const Calendar& calendar);

/// The problems and warnings of the entries; empty where there are none.
std::string problemsView(std::span<const Entry> entries, std::optional<std::size_t> columns);

}  // namespace zt
