#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "schedules/schedule.h"

namespace zt {

/// What is wrong with a line, and how to fix it. Text quoted from the line is printable (see terminal_text.h).
struct Diagnostics {
  std::optional<std::string> error;    ///< why the line makes no copy
  std::optional<std::string> warning;  ///< what the line means, if it seems to mean something else
};

/// Whether a line begins with a #, after blanks.
bool isComment(std::string_view line);

/// The diagnostics of a line with any number of fields. Without an error it makes copies, as far as can be known
/// without asking bash, or it is a comment. A comment has a warning if it would make copies without its #.
Diagnostics diagnose(const CrontabLine& line);

}  // namespace zt
