#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "schedules/crontab_line.h"

namespace zt {

// What there is to say of a line, in words. Parts of the line that are quoted in it are in printable form (see
// terminal_text.h).

/// When a line fires, such as "3rd Monday of the month at 09:30"; "never" where it has no minute at which it can.
std::string scheduleInWords(const CrontabLine& line);

/// The last path component of the URL that the line's last word is, as it stands there: nothing is unescaped.
std::string copyName(const CrontabLine& line);

/// Why the line makes no copy, and what would work: the tool drops it, or it can never fire. nullopt where nothing is
/// known to be wrong; what bash makes of its last word is not known here. The line may have any number of fields.
std::optional<std::string> problemOf(const CrontabLine& line);

/// What a line with all its fields means, where that is something else than it says to a reader of crontab(5).
std::optional<std::string> warningOf(const CrontabLine& line);

}  // namespace zt
