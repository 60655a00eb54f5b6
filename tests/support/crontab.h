#pragma once

#include <algorithm>
#include <string>

#include "schedules/crontab_line.h"

namespace zt {

/// The text of a crontab line. `fields` are the five time fields, with blanks between them for readability.
inline std::string lineText(std::string fields, const std::string& command = "ZTUtil file:///copy") {
  std::ranges::replace(fields, ' ', '\t');
  return fields + "\t" + command;
}

/// The same as a CrontabLine.
inline CrontabLine lineOf(const std::string& fields, const std::string& command = "ZTUtil file:///copy") {
  return CrontabLine(lineText(fields, command));
}

}  // namespace zt
