#pragma once

#include <optional>
#include <string>

#include "schedules/crontab_line.h"

namespace zt {

// The last word of a line's command, from which bash makes the URL of the copy when the line is due. Nothing here asks
// bash. The line may have any number of fields; the last one counts as the command.

/// The name of the copy: the last path component of the URL as it stands in the line, with its escapes, but without
/// quotes around the whole word. The word itself if that leaves nothing.
std::string copyName(const CrontabLine& line);

/// Why the word certainly gives no URL, and what would work; nullopt if that is not certain.
std::optional<std::string> urlError(const CrontabLine& line);

/// What is probably wrong with the URL.
std::optional<std::string> urlWarning(const CrontabLine& line);

}  // namespace zt
