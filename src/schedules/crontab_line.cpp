#include "schedules/crontab_line.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include "schedules/next_event.h"
#include "schedules/schedule.h"

namespace zt {

CrontabLine::CrontabLine(std::string line) : crontabLine_(std::move(line)) {
  parts_.reserve(fieldCount);
  const std::string_view text = crontabLine_;
  std::size_t start = 0;
  for (auto tab = text.find('\t'); tab != text.npos; tab = text.find('\t', start)) {
    parts_.emplace_back(text.substr(start, tab - start));
    start = tab + 1;
  }
  parts_.emplace_back(text.substr(start));
}

const std::string& CrontabLine::part(Field field) const {
  if (field >= parts_.size()) std::abort();
  return parts_[field];
}

bool CrontabLine::runsOnDay(Instant time, const Calendar& calendar) const {
  return parse(*this).firesOn(std::chrono::floor<std::chrono::days>(calendar.localTime(time)));
}

std::optional<Instant> CrontabLine::nextRunDate(Instant reference, const Calendar& calendar) const {
  return zt::nextRunDate(parse(*this), reference, calendar);
}

bool runsAt(const CrontabLine& line, Instant time, const Calendar& calendar) {
  return parse(line).firesAt(calendar.localTime(time));
}

}  // namespace zt
