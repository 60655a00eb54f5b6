#include <algorithm>
#include <sstream>

#include "discovery/crontab_reader.h"
#include "discovery/due_schedules.h"
#include "platform/task.h"
#include "property.h"
#include "schedules/next_event.h"
#include "support/fakes.h"
#include "support/zone.h"

namespace zt {

using namespace platform;
using namespace util;
namespace {

using namespace std::chrono_literals;

struct CheckedCommands : FakeCommands {
  std::optional<Texts> run(const Command& command) override {
    require(std::ranges::all_of(command.arguments, Task::isArgument), "programs get valid arguments");
    return FakeCommands::run(command);
  }
};

/// Whether the line does not fire from `start` until before `end`.
bool isSilent(const CrontabLine& line, Instant start, Instant end, const Calendar& calendar) {
  for (Instant minute = start; minute < end; minute += 1min) {
    if (runsAt(line, minute, calendar)) return false;
  }
  return true;
}

void checkNextRun(const CrontabLine& line, Instant reference, std::optional<Instant> date, const Calendar& calendar) {
  const Instant start = std::chrono::floor<std::chrono::minutes>(reference);
  const Instant dayLater = start + 24h;
  require(isSilent(line, start, std::min(date.value_or(dayLater), dayLater), calendar), "no run is missed in a day");
  if (!date) return;
  require(*date >= start, "the next run is not in the past");
  require(*date == std::chrono::floor<std::chrono::minutes>(*date), "a run is at the start of a minute");
  require(runsAt(line, *date, calendar), "the line fires at its next run");
  require(isSilent(line, std::max(dayLater, *date - 24h), *date, calendar), "no run is missed before the next");
  require(line.nextRunDate(*date + 59s, calendar) == date, "a run stays the next one until its minute is over");
}

void checkDue(const std::vector<CrontabLine>& crontab, Instant time, const Calendar& calendar, Commands& commands) {
  const auto isDue = [&](const CrontabLine& line) { return runsAt(line, time, calendar); };
  std::ostringstream messages;
  const auto urls = matchingSchedules(crontab, time, calendar, commands, messages);
  require(std::ranges::count_if(crontab, isDue) == std::ssize(urls) + std::ssize(lines(messages.str())),
          "each due line gives a URL or a message");
  auto line = crontab.begin();
  for (const auto& url : urls) {
    line = std::find_if(line, crontab.end(), [&](const CrontabLine& candidate) {
      std::string unescaped = candidate.crontabLine();
      std::erase(unescaped, '\\');
      return isDue(candidate) && unescaped.ends_with(url.absoluteString());
    });
    require(line++ != crontab.end(), "the URLs are from the ends of the due lines, in their order");
  }
}

}  // namespace

/// Input: a line with a time zone and the current time in seconds since 1970, then a crontab.
void check(std::string_view input) {
  std::istringstream setting{std::string(takeLine(input))};
  std::string zoneName;
  std::uint32_t time = 0;
  setting >> zoneName >> time;
  const Zone zone = zoneOf(zoneName);
  const Calendar& calendar = zone.calendar;
  const Instant reference =
      std::clamp(Instant{std::chrono::seconds{time}}, at("2026-01-01 00:00 +0000"), at("2037-12-31 23:59 +0000"));

  CheckedCommands commands;
  commands.crontab = isValidUtf8(input) ? lines(input) : Texts();
  Texts ours = commands.crontab.value_or(Texts{});
  std::erase_if(ours, [](const std::string& line) {
    return line.find("ZTUtil") == line.npos || std::ranges::count(line, '\t') != 5;
  });
  const auto crontab = readCrontabLines(commands).value();
  require(std::ranges::equal(crontab, ours, {}, &CrontabLine::crontabLine), "marked lines with six fields are read");

  std::optional<Instant> earliest;
  for (const auto& line : crontab) {
    const auto date = line.nextRunDate(reference, calendar);
    checkNextRun(line, reference, date, calendar);
    if (date) earliest = std::min(*date, earliest.value_or(*date));
  }
  require(nextEventDate(crontab, reference, calendar) == earliest, "the next event is the earliest of the next runs");
  checkDue(crontab, earliest.value_or(reference), calendar, commands);
}

}  // namespace zt
