#pragma once

#include <optional>
#include <string>

#include "schedules/crontab_line.h"

namespace zt {

// The last word of a line's command, which bash makes a URL of when the line is due. Nothing is asked of bash here. The
// line may have any number of fields; the last one counts for the command.

/// The name of the copy: the last path component of the URL as it stands in the line, with its escapes, but without
/// quotes around the whole word. The word itself where that leaves nothing.
std::string copyName(const CrontabLine& line);

/// Why the word certainly gives no URL, and what would work; nullopt where that is not certain.
std::optional<std::string> problemOfLastWord(const CrontabLine& line);

/// What is likely to be wrong with the URL that it gives.
std::optional<std::string> warningOfLastWord(const CrontabLine& line);

}  // namespace zt
