#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "discovery/crontab_reader.h"
#include "property.h"
#include "support/zone.h"
#include "util/text.h"
#include "util/time_text.h"
#include "ztschedules/schedule_entry.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/views.h"

namespace zt {

using namespace platform;
using namespace util;
namespace {

using namespace std::chrono_literals;

void checkEntry(const ScheduleEntry& entry, Instant now) {
  const auto& [error, warning] = entry.diagnostics;
  const bool isCommentedOut = isComment(entry.line.crontabLine()) && warning;
  require(error || isCommentedOut || entry.next, "a line that never runs has an error");
  require(entry.schedule.canFire() == entry.next.has_value(), "a schedule that can fire has a next run");
  require(!entry.due || entry.next == std::chrono::floor<std::chrono::minutes>(now), "a due line runs in this minute");
}

void checkView(std::string_view view, std::optional<std::size_t> columns = {}) {
  require(view.empty() || view.ends_with('\n'), "a view ends with a line feed");
  for (const auto line : split(view, '\n')) {
    require(printable(line) == line, "a view is printable");
    require(!columns || displayWidth(line) <= *columns, "a view fits its columns");
  }
}

void checkJson(const std::vector<ScheduleEntry>& entries, const Calendar& calendar) {
  const auto text = jsonView(entries, {}, calendar);
  checkView(text);
  require(std::ranges::all_of(text, [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }), "JSON is ASCII");
  const auto array = nlohmann::json::parse(text);
  require(array.size() == entries.size(), "JSON has an object for each marked line");
  for (std::size_t i = 0; i < array.size(); ++i) {
    const auto& line = entries[i].line.crontabLine();
    require(!isValidUtf8(line) || array[i].at("line") == line, "JSON has the text of the line");
    if (array[i].at("next").is_null()) continue;
    const Instant next{std::chrono::seconds{array[i].at("next").get<std::int64_t>()}};
    require(entries[i].next == next, "JSON has the next run");
    auto local = array[i].at("nextLocal").get<std::string>();
    local.at(10) = ' ';
    local.insert(19, 1, ' ');  // "2027-03-14 03:15:00 -04:00", as at() takes it
    require(at(local) == next, "nextLocal and next are the same time");
  }
}

}  // namespace

/// Input: a line with a time zone and the current time in the format of --at, then a crontab.
void check(std::string_view input) {
  const auto setting = takeLine(input);
  const auto blank = std::min(setting.find(' '), setting.size());
  const Zone zone = zoneOf(setting.substr(0, blank));
  Instant now = at("2027-03-13 12:00 +0000");
  try {
    now = readTime(std::string(setting.substr(std::min(blank + 1, setting.size()))), zone.calendar);
  } catch (const std::invalid_argument& error) {
    checkView(std::string(error.what()) + "\n");
  }

  const auto entries = readScheduleEntries(input, now, zone.calendar);
  auto texts = lines(input);
  std::erase_if(texts, [](const std::string& line) {
    const auto [error, warning] = diagnose(CrontabLine(line));
    return !isMarked(line) || (isComment(line) && !error && !warning);
  });
  require(std::ranges::equal(entries, texts, {}, [](const ScheduleEntry& entry) { return entry.line.crontabLine(); }),
          "each marked line has an entry, unless it is a mere comment");
  const auto all = split(input, '\n');
  for (const auto& entry : entries) {
    checkEntry(entry, now);
    require(entry.line.crontabLine().starts_with(all.at(entry.number - 1)), "an entry has the number of its line");
  }
  checkJson(entries, zone.calendar);
  const auto columns = 28 + input.size() % 64;
  checkView(nextRunsView(entries, {}, now, zone.calendar, {columns}), columns);
  checkView(problemsView(entries, {columns}), columns);
  checkView(runsView(entries, 20, now, zone.calendar, {}));
  const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(zone.calendar.localTime(now))};
  checkView(monthView(entries, {date.year(), date.month()}, zone.calendar, {columns}), columns);
}

}  // namespace zt
