#pragma once

#include <string>
#include <string_view>

#include "platform/calendar.h"
#include "platform/terminal.h"

namespace zt {

/// Whether a text is the number of a line, from 1, and not time fields.
bool isLineNumber(std::string_view text);

/// What a line of a crontab means, as lines of printable text: each field, the URL and the next five runs. Why it is no
/// schedule, if it is none. Throws a std::invalid_argument if there is no such line.
std::string explainLine(std::string_view crontab, std::string_view number, Instant now, const Calendar& calendar,
                        const platform::Terminal& terminal);

/// The same of five time fields, with blanks or TABs between them. Throws a std::invalid_argument if there are not
/// five.
std::string explainFields(std::string_view fields, Instant now, const Calendar& calendar,
                          const platform::Terminal& terminal);

}  // namespace zt
