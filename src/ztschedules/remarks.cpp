#include "ztschedules/remarks.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <vector>

#include "schedules/matching.h"
#include "util/text.h"
#include "ztschedules/last_word.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/words.h"

namespace zt {
namespace {

constexpr std::string_view blanksAndTabs = " \t";

bool consistsOf(std::string_view text, std::string_view characters) {
  return text.find_first_not_of(characters) == text.npos;
}

/// Whether a word could be a field of a crontab(5) other than the command.
bool looksLikeTime(std::string_view word) {
  static constexpr std::array names = {"sun", "mon", "tue", "wed", "thu", "fri", "sat", "jan", "feb", "mar",
                                       "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
  static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  static constexpr std::string_view times = "0123456789*,-/+?#:";
  const auto isHere = [&](auto name) { return isSame(word.substr(0, 3), name, {.caseInsensitive = true}); };
  if (word.empty()) return false;
  while (!word.empty()) {
    const bool isName = std::ranges::any_of(names, isHere);
    const auto end = std::min(word.find_first_not_of(isName ? letters : times), word.size());
    if (end == 0) return false;
    word.remove_prefix(end);
  }
  return true;
}

/// How many fields somebody has meant who takes blanks for separators: the words in front that look like times, five at
/// most, and the command.
std::size_t intendedFields(std::string_view text) {
  std::size_t fields = 0;
  for (; fields < CrontabLine::command; ++fields) {
    text.remove_prefix(std::min(text.find_first_not_of(blanksAndTabs), text.size()));
    const auto word = text.substr(0, text.find_first_of(blanksAndTabs));
    if (!looksLikeTime(word)) break;
    text.remove_prefix(word.size());
  }
  return consistsOf(text, blanksAndTabs) ? fields : fields + 1;
}

std::string fieldCountProblem(const CrontabLine& line) {
  const auto fields = line.parts().size();
  const auto intended = intendedFields(line.crontabLine());
  if (intended <= fields) {
    return std::to_string(fields) + (fields == 1 ? " field" : " fields") +
           ": 6 are needed, with single TABs between them and none in the command";
  }
  return std::to_string(intended) + (fields == 1 ? " fields, " : " fields, some ") +
         "separated by blanks: TABs are needed" + (intended < CrontabLine::fieldCount ? ", and 6 fields" : "");
}

std::optional<std::string> numberProblem(const std::string& name, const std::string& field, std::int64_t most) {
  const auto range = "0 to " + std::to_string(most);
  const auto number = readInteger(field);
  if (number && (*number < 0 || *number > most)) return name + " " + quote(field) + " is not one of " + range;
  if (number) return std::nullopt;
  std::string problem = name + " " + quote(field) + " is not a single number from " + range;
  if (field.find(' ') != field.npos) return problem + ": only TABs may stand around it";
  if (field.find_first_of("*,-/") != field.npos) return problem + ": each time needs a line of its own";
  return problem;
}

/// Why a line that begins with a # does not run.
std::string commentProblem(std::string_view text) {
  const auto sign = text.substr(0, text.find_first_not_of("# \t"));
  const bool wouldRun = !problemOf(CrontabLine(std::string(text.substr(sign.size()))));
  return wouldRun ? "commented out: take off " + quote(sign) + " to have it run" : "a comment, not a schedule";
}

std::optional<std::string> dayOfMonthProblem(const CrontabLine& line) {
  if (!acceptedRanges(line).empty()) return std::nullopt;
  return "day of month " + quote(line.part(CrontabLine::dayOfMonth)) + " is not one of 1-7, 8-14, 15-21, 22-31";
}

std::optional<std::string> dayOfWeekProblem(const CrontabLine& line) {
  if (!acceptedWeekdays(line).empty()) return std::nullopt;
  const auto& field = line.part(CrontabLine::dayOfWeek);
  const bool hasSeven = field.find('7') != field.npos;
  return "day of week " + quote(field) +
         " matches no day: " + (hasSeven ? "Sunday is 0" : "days are 0 for Sunday to 6 for Saturday");
}

bool isListOf(std::string_view field, auto isItem) {
  return std::ranges::all_of(split(field, ','), isItem);
}

std::optional<std::string> dayOfMonthWarning(const CrontabLine& line) {
  const auto& field = line.part(CrontabLine::dayOfMonth);
  const auto ranges = acceptedRanges(line);
  const auto isRange = [](auto item) { return std::ranges::find(dayRanges, item) != dayRanges.end(); };
  if (field == "*" || ranges.empty() || isListOf(field, isRange)) return std::nullopt;
  return "day of month " + quote(field) + " means days " + listed(ranges) + " only";
}

std::optional<std::string> monthWarning(const CrontabLine& line) {
  const auto& field = line.part(CrontabLine::month);
  if (field == "*") return std::nullopt;
  return "month " + quote(field) + " is not looked at: it runs in every month";
}

std::optional<std::string> dayOfWeekWarning(const CrontabLine& line) {
  const auto& field = line.part(CrontabLine::dayOfWeek);
  const auto days = acceptedWeekdays(line);
  const auto isDay = [](auto item) { return item.size() == 1 && consistsOf(item, "0123456"); };
  if (field == "*" || days.empty() || isListOf(field, isDay)) return std::nullopt;
  std::vector<std::string> names;
  std::ranges::transform(days, std::back_inserter(names), nameOf);
  const bool hasSeven = field.find('7') != field.npos;
  return "day of week " + quote(field) + " means " + listed(names) + " only" + (hasSeven ? ": 7 is no day" : "");
}

/// The remarks that there are, as one.
std::optional<std::string> joined(const std::vector<std::optional<std::string>>& remarks) {
  std::optional<std::string> result;
  for (const auto& remark : remarks) {
    if (remark) result = result ? *result + "; " + *remark : *remark;
  }
  return result;
}

}  // namespace

std::optional<std::string> problemOf(const CrontabLine& line) {
  const std::string_view text = line.crontabLine();
  if (text.find("\r\n") != text.npos) return "CR LF does not end a line: LF alone is needed";
  const auto start = text.find_first_not_of(blanksAndTabs);
  if (start != text.npos && text[start] == '#') return commentProblem(text);
  if (line.parts().size() != CrontabLine::fieldCount) return fieldCountProblem(line);
  return joined({numberProblem("minute", line.part(CrontabLine::minute), 59),
                 numberProblem("hour", line.part(CrontabLine::hour), 23), dayOfMonthProblem(line),
                 dayOfWeekProblem(line), problemOfLastWord(line)});
}

std::optional<std::string> warningOf(const CrontabLine& line) {
  return joined({dayOfMonthWarning(line), monthWarning(line), dayOfWeekWarning(line), warningOfLastWord(line)});
}

}  // namespace zt
