#include "ztschedules/entry.h"

#include <algorithm>
#include <utility>

#include "discovery/crontab_reader.h"
#include "schedules/matching.h"
#include "util/text.h"
#include "ztschedules/words.h"

namespace zt {
namespace {

/// What is wrong with the text as a whole, and with each of its lines.
std::optional<std::string> textProblem(std::string_view text) {
  if (isValidUtf8(text)) return std::nullopt;
  std::size_t number = 0;
  for (const auto line : split(text, '\n')) {
    ++number;
    if (!isValidUtf8(line)) break;
  }
  return "line " + std::to_string(number) + " is not UTF-8, and no line is read then";
}

}  // namespace

std::vector<Entry> readEntries(std::string_view crontab, Instant now, const Calendar& calendar) {
  const auto problemOfText = textProblem(crontab);
  std::vector<Entry> entries;
  std::size_t number = 1;
  std::size_t start = 0;
  std::size_t end = 0;
  for (auto& text : lines(crontab)) {
    const auto former = std::exchange(start, crontab.find(text, end));  // behind nothing but line feeds
    end = start + text.size();
    number += static_cast<std::size_t>(std::ranges::count(crontab.substr(former, start - former), '\n'));
    if (!isMarked(text)) continue;

    Entry entry{number, CrontabLine(std::move(text))};
    entry.copy = copyName(entry.line);
    if (problemOfText) {
      entry.problem = problemOfText;
    } else {
      entry.problem = problemOf(entry.line);
      if (entry.line.parts().size() == CrontabLine::fieldCount) {
        entry.warning = warningOf(entry.line);
        entry.schedule = scheduleInWords(entry.line);
        entry.due = runsAt(entry.line, now, calendar);
        entry.next = entry.line.nextRunDate(now, calendar);
      }
    }
    entries.push_back(std::move(entry));
  }
  return entries;
}

}  // namespace zt
