#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "schedules/crontab_line.h"
#include "util/url.h"

namespace zt {

// The last word of a line's command, from which bash makes the URL of the copy when the line is due. Nothing here asks
// bash. The line may have any number of fields; the last one counts as the command.

/// The word: all of a command without a blank.
std::string_view lastWord(const CrontabLine& line);

/// The URL; nullopt if bash makes none, or if that is not certain.
std::optional<util::URL> certainURL(const CrontabLine& line);

/// The name of the copy: the last path component of the URL, decoded. If the URL is not certain, it is that of the word
/// as it stands in the line, without quotes around it. The whole word, or URL, if that leaves nothing.
std::string copyName(const CrontabLine& line);

/// Why the word certainly gives no URL, and what would work; nullopt if that is not certain.
std::optional<std::string> urlError(const CrontabLine& line);

/// What is probably wrong with the URL.
std::optional<std::string> urlWarning(const CrontabLine& line);

}  // namespace zt
