#include "ztschedules/diagnostics.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <initializer_list>
#include <string_view>

#include "discovery/crontab_reader.h"
#include "util/text.h"
#include "ztschedules/copy_url.h"
#include "ztschedules/schedule_description.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

using Message = std::optional<std::string>;
using Field = CrontabLine::Field;

constexpr std::string_view blanksAndTabs = " \t";

/// The messages that are present, each once, joined by semicolons.
Message joined(std::initializer_list<Message> messages) {
  Message result;
  for (const auto& message : messages) {
    if (!message || (result && result->find(*message) != result->npos)) continue;
    result = result ? *result + "; " + *message : *message;
  }
  return result;
}

/// Whether a word could be a time field of crontab(5): numbers, names, and the characters between them.
bool looksLikeTimeField(std::string_view word) {
  static constexpr std::array<std::string_view, 19> names = {"sun", "mon", "tue", "wed", "thu", "fri", "sat",
                                                             "jan", "feb", "mar", "apr", "may", "jun", "jul",
                                                             "aug", "sep", "oct", "nov", "dec"};
  static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  static constexpr std::string_view otherCharacters = "0123456789*,-/+?#:";
  if (word.empty()) return false;
  while (!word.empty()) {
    const auto start = word.substr(0, 3);
    const bool isName = std::ranges::any_of(names, [&](auto name) {
      return std::ranges::equal(start, name, [](unsigned char c, char letter) { return std::tolower(c) == letter; });
    });
    const auto end = std::min(word.find_first_not_of(isName ? letters : otherCharacters), word.size());
    if (end == 0) return false;
    word.remove_prefix(end);
  }
  return true;
}

/// Removes and returns the first word of a text; empty if there is none.
std::string_view takeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanksAndTabs), text.size()));
  const auto word = text.substr(0, text.find_first_of(blanksAndTabs));
  text.remove_prefix(word.size());
  return word;
}

/// How many fields the line would have if blanks separated them, too: up to five that look like times, and a command.
std::size_t fieldsBetweenBlanks(std::string_view text) {
  std::size_t times = 0;
  while (times < CrontabLine::command) {
    const auto word = takeWord(text);
    if (word.empty()) return times;
    if (!looksLikeTimeField(word)) return times + 1;
    ++times;
  }
  return takeWord(text).empty() ? times : times + 1;
}

Message fieldCountError(const CrontabLine& line) {
  const auto fields = line.parts().size();
  if (fields == CrontabLine::fieldCount) return std::nullopt;
  const auto intended = fieldsBetweenBlanks(line.crontabLine());
  if (intended > fields) {
    return std::to_string(intended) + (fields == 1 ? " fields, " : " fields, some ") + "separated by blanks: " +
           (intended < CrontabLine::fieldCount ? "6 are needed, separated by single TABs" : "single TABs are needed");
  }
  return std::to_string(fields) + (fields == 1 ? " field" : " fields") +
         ": 6 are needed, separated by single TABs, with no TAB in the command";
}

/// Only LF alone ends a line.
Message lineEndError(std::string_view text) {
  if (text.find("\r\n") == text.npos) return std::nullopt;
  return "the line ends in CR LF: use LF alone";
}

/// The error of a text, explained by its line end if that is wrong.
Message explained(const Message& error, std::string_view text) {
  const auto explanation = lineEndError(text);
  return error && explanation ? explanation : error;
}

/// Whether a comment that ends in CR LF includes a line that is none, and that could be a schedule.
bool swallowsSchedules(std::string_view comment) {
  return std::ranges::any_of(util::split(comment, '\n'), [](auto line) { return !isComment(line) && isMarked(line); });
}

/// The rest of the line, which is diagnosed as well, does not begin with a #.
Diagnostics diagnoseComment(std::string_view text) {
  const auto prefix = text.substr(0, text.find_first_not_of("# \t"));
  const auto [error, warning] = diagnose(CrontabLine(std::string(text.substr(prefix.size()))));
  if (error) return {.error = swallowsSchedules(text) ? lineEndError(text) : Message(), .warning = {}};
  return {.error = {}, .warning = joined({"commented out: remove " + quote(prefix) + " to enable it", warning})};
}

/// Why a field is invalid.
Message fieldError(const CrontabLine& line, const Schedule& schedule, Field field) {
  if (!isInvalid(schedule.readings[field])) return std::nullopt;
  const auto text = fieldName(field) + " " + quote(line.part(field));
  const auto range = std::string("0 to ") + (field == CrontabLine::minute ? "59" : "23");
  switch (schedule.readings[field]) {
    case FieldReading::outOfRange:
      return text + " is not in the range " + range;
    case FieldReading::hasBlank:
      return text + " is not a single number from " + range + ": remove the blanks";
    case FieldReading::multipleTimes:
      return text + " is not a single number from " + range + ": each time needs its own line";
    case FieldReading::notANumber:
      return text + " is not a single number from " + range;
    case FieldReading::noDay:
      return text + " matches no day: use " +
             (field == CrontabLine::dayOfWeek ? "0 (Sunday) to 6 (Saturday)" : "1-7, 8-14, 15-21 or 22-31");
    default:
      return std::nullopt;
  }
}

/// What a misleading field means.
Message fieldWarning(const CrontabLine& line, const Schedule& schedule, Field field) {
  const auto text = fieldName(field) + " " + quote(line.part(field));
  const auto reading = schedule.readings[field];
  if (reading == FieldReading::ignored) return text + " is ignored: the schedule runs in every month";
  const bool isEveryDay = field == CrontabLine::dayOfWeek && schedule.weekdays.all();
  if (reading != FieldReading::partial || isEveryDay) return std::nullopt;
  if (field == CrontabLine::dayOfMonth) return text + " means only days " + listed(rangeTexts(schedule));
  return text + " means only " + listed(weekdayNames(schedule)) + ": list each day, as in 1,2,3 (Sunday is 0)";
}

}  // namespace

bool isComment(std::string_view line) {
  const auto start = line.find_first_not_of(blanksAndTabs);
  return start != line.npos && line[start] == '#';
}

Diagnostics diagnose(const CrontabLine& line) {
  if (isComment(line.crontabLine())) return diagnoseComment(line.crontabLine());
  if (auto error = fieldCountError(line)) return {.error = explained(error, line.crontabLine()), .warning = {}};

  using enum CrontabLine::Field;
  const auto schedule = parse(line);
  const auto error = [&](Field field) {
    return explained(field == command ? urlError(line) : fieldError(line, schedule, field), line.part(field));
  };
  const auto warning = [&](Field field) { return fieldWarning(line, schedule, field); };
  return {.error = joined({error(minute), error(hour), error(dayOfMonth), error(dayOfWeek), error(command)}),
          .warning = joined({warning(dayOfMonth), warning(month), warning(dayOfWeek), urlWarning(line)})};
}

}  // namespace zt
