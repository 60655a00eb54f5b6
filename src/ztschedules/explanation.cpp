#include "ztschedules/explanation.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "discovery/crontab_reader.h"
#include "schedules/next_event.h"
#include "util/text.h"
#include "util/time_text.h"
#include "ztschedules/copy_url.h"
#include "ztschedules/schedule_description.h"
#include "ztschedules/schedule_entry.h"
#include "ztschedules/terminal_text.h"

namespace zt {

using namespace std::chrono_literals;

namespace {

using Field = CrontabLine::Field;

std::string meaningOf(const ScheduleEntry& entry, Field field) {
  const auto& schedule = entry.schedule;
  if (isInvalid(schedule.readings.at(field))) return "invalid";
  const auto number = [&] { return std::to_string(std::stoi(std::string(entry.line.part(field)))); };
  switch (field) {
    case CrontabLine::minute:
      return "minute " + number() + " of the hour";
    case CrontabLine::hour:
      return "hour " + number() + " of the day";
    case CrontabLine::dayOfMonth:
      if (schedule.ranges.all()) return "any day";
      return "days " + listed(rangeTexts(schedule)) + ": the " + describeOccurrences(schedule) + " of each weekday";
    case CrontabLine::month:
      return schedule.readings.at(field) == FieldReading::ignored ? "ignored: every month" : "every month";
    case CrontabLine::dayOfWeek:
      return schedule.weekdays.all() ? "any day" : listed(weekdayNames(schedule));
    case CrontabLine::command:
      break;
  }
  return {};
}

/// The fields of a line and what each means; empty if it is no schedule. `hasCommand` is false for time fields alone.
std::string fieldsTable(const ScheduleEntry& entry, bool hasCommand, const platform::Terminal& terminal) {
  using enum CrontabLine::Field;
  const auto& line = entry.line;
  if (line.parts().size() != CrontabLine::fieldCount || isComment(line.crontabLine())) return {};
  std::vector<Row> rows = {{{"FIELD", "TEXT", "MEANING"}}};
  const auto add = [&](const std::string& name, std::string_view text, const std::string& meaning) {
    rows.push_back({{name, printable(text), meaning}});
  };
  for (const auto field : {minute, hour, dayOfMonth, month, dayOfWeek}) {
    add(fieldName(field), line.part(field), meaningOf(entry, field));
  }
  if (hasCommand) {
    const auto word = lastWord(line);
    const auto url = certainURL(line);
    const auto commandText = line.part(command);
    add("command", commandText.substr(0, commandText.size() - word.size()), "not run, except by cron's daemon");
    add("URL", word,
        url              ? printable(url->absoluteString())
        : urlError(line) ? "none"
                         : "what bash makes of it when the line is due");
  }
  return table(rows, 1, terminal);
}

std::string runsTable(const ScheduleEntry& entry, Instant now, const Calendar& calendar,
                      const platform::Terminal& terminal) {
  constexpr std::size_t runs = 5;
  std::vector<Row> rows = {{{"NEXT", "LEFT"}}};
  for (auto next = entry.next; next && rows.size() <= runs;
       next = nextRunDate(entry.schedule, *next + 1min, calendar)) {
    rows.push_back({{printable(util::timeText(*next, calendar)), util::timeLeft(*next - now)},
                    *next <= now ? Style::dueNow : Style::plain});
  }
  return table(rows, 1, terminal);
}

std::string explain(const ScheduleEntry& entry, const std::string& title, const std::string& fields, Instant now,
                    const Calendar& calendar, const platform::Terminal& terminal) {
  const auto& [error, warning] = entry.diagnostics;
  auto result = paragraph(title + describe(entry.schedule), Style::plain, terminal);
  if (!fields.empty()) result += '\n' + fields;
  if (error || warning) result += '\n';
  if (error) result += paragraph("problem: " + *error, Style::error, terminal);
  if (warning) result += paragraph("warning: " + *warning, Style::warning, terminal);
  if (entry.makesCopies()) result += '\n' + runsTable(entry, now, calendar, terminal);
  return result;
}

/// Why a line that is there is shown nowhere.
std::string reasonWhyUnread(std::string_view line) {
  if (isComment(line)) return "is a comment";
  if (!isMarked(line)) return "does not contain " + std::string(marker);
  return "continues the one above, which ends in CR LF";
}

}  // namespace

bool isLineNumber(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](unsigned char c) { return std::isdigit(c) != 0; });
}

std::string explainLine(std::string_view crontab, std::string_view number, Instant now, const Calendar& calendar,
                        const platform::Terminal& terminal) {
  auto lines = util::split(crontab, '\n');
  if (lines.back().empty()) lines.pop_back();
  std::size_t wanted = 0;
  std::from_chars(number.data(), number.data() + number.size(), wanted);
  if (wanted == 0 || wanted > lines.size()) {
    throw std::invalid_argument("there is no line " + std::string(number) + ": the crontab has " +
                                std::to_string(lines.size()));
  }
  const std::string title = "Line " + std::to_string(wanted);
  const auto entries = readScheduleEntries(crontab, now, calendar);
  const auto entry = std::ranges::find(entries, wanted, &ScheduleEntry::number);
  if (entry != entries.end()) {
    // Of a crontab that is not UTF-8 no field is read.
    const auto fields = util::isValidUtf8(crontab) ? fieldsTable(*entry, true, terminal) : std::string();
    return explain(*entry, title + ": ", fields, now, calendar, terminal);
  }
  return paragraph(title + " is no schedule: it " + reasonWhyUnread(lines[wanted - 1]) + ".", Style::plain, terminal);
}

std::string explainFields(std::string_view fields, Instant now, const Calendar& calendar,
                          const platform::Terminal& terminal) {
  std::string line;
  std::size_t count = 0;
  std::istringstream words{std::string(fields)};
  for (std::string word; words >> word; ++count) line += word + '\t';
  if (count != CrontabLine::command) {
    throw std::invalid_argument(quote(fields) +
                                " is neither the number of a line nor five time fields such as \"30 9 15-21 * 1\"");
  }
  const auto entries = readScheduleEntries(line + std::string(marker) + " file:///", now, calendar);
  if (entries.empty() || !util::isValidUtf8(fields)) throw std::invalid_argument(quote(fields) + " are no time fields");
  return explain(entries.front(), "", fieldsTable(entries.front(), false, terminal), now, calendar, terminal);
}

}  // namespace zt
