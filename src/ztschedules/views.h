#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "platform/calendar.h"
#include "ztschedules/entry.h"

namespace zt {

// The ways to show the entries of a crontab. Each gives whole lines of printable text. Tables fit into `columns`, from
// 60 on; without them they are as wide as their texts.

/// The next run of each entry, the earliest first.
std::string nextRunsView(std::span<const Entry> entries, Instant now, const Calendar& calendar,
                         std::optional<std::size_t> columns);

/// The next `count` runs of all entries, in order. A time that comes twice is two runs.
std::string runsView(std::span<const Entry> entries, std::size_t count, Instant now, const Calendar& calendar,
                     std::optional<std::size_t> columns);

/// A calendar of a month with the days marked on which there are runs: by a colour, or else by an asterisk.
std::string monthView(std::span<const Entry> entries, std::chrono::year_month month, const Calendar& calendar,
                      bool inColor);

/// A JSON array (RFC 8259, in ASCII) of an object for each entry: "line", its text, with U+FFFD for what is not UTF-8;
/// "due"; "next", in seconds since 1970, and "nextLocal", by RFC 3339, or null; "schedule"; "problem", or null.
std::string jsonView(std::span<const Entry> entries, const Calendar& calendar);

/// The problems and warnings of the entries; empty where there are none.
std::string problemsView(std::span<const Entry> entries, std::optional<std::size_t> columns);

}  // namespace zt
