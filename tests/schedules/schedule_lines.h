#pragma once

#include <algorithm>

#include "schedules/crontab_line.h"

namespace zt {

/// A line whose fields are written with blanks between them, for the eye; a dot is an empty field.
inline CrontabLine lineOf(std::string fields) {
  std::ranges::replace(fields, ' ', '\t');
  std::erase(fields, '.');
  return CrontabLine(fields);
}

}  // namespace zt
