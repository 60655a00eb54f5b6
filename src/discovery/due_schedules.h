#pragma once

#include <iosfwd>
#include <optional>
#include <span>
#include <vector>

#include "platform/commands.h"
#include "schedules/crontab_line.h"
#include "util/url.h"

namespace zt {

/// The URLs of the lines that fire in the minute of `time`, in the order of the lines. A line whose command has no URL
/// is left out, with a one-line message on `output`. Only lines that fire are passed to the shell.
std::vector<util::URL> matchingSchedules(std::span<const CrontabLine> lines, Instant time, const Calendar& calendar,
                                         platform::Commands& commands, std::ostream& output);

/// The URL that is the last word of the line's command, after /bin/bash has removed escapes and expanded what it
/// expands. nullopt, after a one-line message on `output`, if there is none.
std::optional<util::URL> commandURL(const CrontabLine& line, platform::Commands& commands, std::ostream& output);

}  // namespace zt
