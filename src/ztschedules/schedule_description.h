#pragma once

#include <string>
#include <vector>

#include "schedules/schedule.h"

namespace zt {

/// When a schedule fires, such as "3rd Monday of the month at 09:30"; "never" if it cannot fire.
std::string describe(const Schedule& schedule);

/// The name of a field, such as "day of month".
std::string fieldName(CrontabLine::Field field);

/// The names of its weekdays, from Monday on, such as "Monday".
std::vector<std::string> weekdayNames(const Schedule& schedule);

/// Those of dayRanges that it has.
std::vector<std::string> rangeTexts(const Schedule& schedule);

/// Which of its weekdays in a month these are, such as "1st, 4th and 5th". Needs at least one.
std::string describeOccurrences(const Schedule& schedule);

/// "a", "a and b", "a, b and c". Needs at least one text.
std::string listed(const std::vector<std::string>& texts);

}  // namespace zt
