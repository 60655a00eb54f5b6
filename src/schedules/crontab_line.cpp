#include "schedules/crontab_line.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include "schedules/next_event.h"
#include "schedules/schedule.h"

namespace zt {

CrontabLine::CrontabLine(std::string line) : crontabLine_(std::make_shared<const std::string>(std::move(line))) {
  parts_.reserve(fieldCount);
  std::string_view rest = *crontabLine_;
  for (auto tab = rest.find('\t'); tab != rest.npos; tab = rest.find('\t')) {
    parts_.push_back(rest.substr(0, tab));
    rest.remove_prefix(tab + 1);
  }
  parts_.push_back(rest);
}

std::string_view CrontabLine::part(Field field) const {
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
