#include "ztschedules/schedule_entry.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "discovery/crontab_reader.h"
#include "schedules/next_event.h"
#include "util/text.h"
#include "ztschedules/copy_url.h"
#include "ztschedules/schedule_description.h"

namespace zt {
namespace {

std::size_t lineFeeds(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

/// Why the tool reads nothing of a text, if that is so.
std::optional<std::string> textError(std::string_view text) {
  const auto valid = util::validUtf8Prefix(text);
  if (valid.size() == text.size()) return std::nullopt;
  return "line " + std::to_string(1 + lineFeeds(valid)) + " is not UTF-8, so no line is read";
}

ScheduleEntry entryOf(std::size_t number, CrontabLine line, Instant now, const Calendar& calendar) {
  ScheduleEntry entry{number, std::move(line)};
  entry.diagnostics = diagnose(entry.line);
  if (entry.line.parts().size() != CrontabLine::fieldCount) return entry;
  entry.schedule = parse(entry.line);
  entry.due = entry.schedule.firesAt(calendar.localTime(now));
  entry.next = nextRunDate(entry.schedule, now, calendar);
  return entry;
}

/// Gives copies a warning that an earlier line makes at the same times.
void warnOfRepeatedCopies(std::vector<ScheduleEntry>& entries) {
  std::unordered_map<std::string, std::size_t> numbers;
  for (auto& entry : entries) {
    const auto url = certainURL(entry.line);
    if (!entry.makesCopies() || !url) continue;
    auto copy = describe(entry.schedule) + ' ' + url->absoluteString();
    while (copy.ends_with('/')) copy.pop_back();
    const auto [first, isNew] = numbers.try_emplace(std::move(copy), entry.number);
    if (isNew) continue;
    auto& warning = entry.diagnostics.warning;
    warning = (warning ? *warning + "; " : "") + "line " + std::to_string(first->second) +
              " makes the same copy at the same times: it is made twice";
  }
}

}  // namespace

std::vector<ScheduleEntry> readScheduleEntries(std::string_view crontab, Instant now, const Calendar& calendar) {
  const auto error = textError(crontab);
  std::vector<ScheduleEntry> entries;
  std::size_t number = 1;
  const char* counted = crontab.data();  // up to here `number` has counted the lines
  for (const auto text : util::lineViews(crontab)) {
    number += lineFeeds({counted, text.data()});
    counted = text.data();
    if (!isMarked(text)) continue;
    auto entry = entryOf(number, CrontabLine{std::string(text)}, now, calendar);
    if (isComment(text) && !entry.diagnostics.error && !entry.diagnostics.warning) continue;
    if (error) entry = {.number = number, .line = entry.line, .diagnostics = {error, {}}};
    entry.copy = copyName(entry.line);
    entries.push_back(std::move(entry));
  }
  warnOfRepeatedCopies(entries);
  return entries;
}

}  // namespace zt
