#pragma once

#include <optional>
#include <string>

#include "schedules/crontab_line.h"

namespace zt {

// What there is to remark on a line, in words. Parts of the line that are quoted in it are in printable form (see
// terminal_text.h).

/// Why a line makes no copy, and what would work: the tool drops it, or it can never fire. nullopt where nothing is
/// known to be wrong. The line may have any number of fields.
std::optional<std::string> problemOf(const CrontabLine& line);

/// What a line of six fields means where one of them seems to say something else; nullopt where none does.
std::optional<std::string> warningOf(const CrontabLine& line);

}  // namespace zt
