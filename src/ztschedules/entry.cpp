#include "ztschedules/entry.h"

#include <algorithm>
#include <utility>

#include "discovery/crontab_reader.h"
#include "schedules/matching.h"
#include "util/text.h"
#include "ztschedules/last_word.h"
#include "ztschedules/remarks.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/words.h"

namespace zt {
namespace {

/// Why the tool reads nothing of a text, if so.
std::optional<std::string> problemOfText(std::string_view text) {
  const auto pieces = split(text, '\n');
  const auto broken = std::ranges::find_if_not(pieces, isValidUtf8);
  if (broken == pieces.end()) return std::nullopt;
  return "line " + std::to_string(broken - pieces.begin() + 1) + " is not UTF-8, so no line is read";
}

/// `textProblem` is that of the whole text.
Entry entryOf(std::size_t number, CrontabLine line, const std::optional<std::string>& textProblem, Instant now,
              const Calendar& calendar) {
  constexpr std::size_t mostColumns = 60;
  Entry entry{number, std::move(line)};
  entry.copy = shortened(copyName(entry.line), mostColumns);
  entry.problem = textProblem ? textProblem : problemOf(entry.line);
  if (textProblem || entry.line.parts().size() != CrontabLine::fieldCount) return entry;

  entry.warning = warningOf(entry.line);
  entry.schedule = scheduleInWords(entry.line);
  entry.due = runsAt(entry.line, now, calendar);
  entry.next = entry.line.nextRunDate(now, calendar);
  return entry;
}

}  // namespace

std::vector<Entry> readEntries(std::string_view crontab, Instant now, const Calendar& calendar) {
  const auto textProblem = problemOfText(crontab);
  std::vector<Entry> entries;
  std::size_t number = 1;
  for (auto& text : lines(crontab)) {
    for (; crontab.starts_with('\n'); crontab.remove_prefix(1)) ++number;  // lines() leaves empty ones out
    crontab.remove_prefix(text.size());
    const auto feeds = std::ranges::count(text, '\n');  // each behind a carriage return
    if (isMarked(text)) {
      entries.push_back(entryOf(number, CrontabLine(std::move(text)), textProblem, now, calendar));
    }
    number += static_cast<std::size_t>(feeds);
  }
  return entries;
}

}  // namespace zt
