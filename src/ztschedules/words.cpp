#include "ztschedules/words.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <vector>

#include "platform/commands.h"
#include "schedules/matching.h"
#include "util/text.h"
#include "util/url.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

using std::chrono::weekday;
using Texts = std::vector<std::string>;

/// "a", "a and b", "a, b and c".
std::string listed(const Texts& texts) {
  std::string result = texts.front();
  for (std::size_t i = 1; i < texts.size(); ++i) {
    result.append(i + 1 < texts.size() ? ", " : " and ").append(texts[i]);
  }
  return result;
}

std::string nameOf(weekday day) {
  static constexpr std::array names = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
  return names.at(day.c_encoding());
}

/// From Monday to Sunday.
std::vector<weekday> acceptedWeekdays(const CrontabLine& line) {
  std::vector<weekday> result;
  for (unsigned day = 1; day <= 7; ++day) {
    if (acceptsWeekday(line, weekday{day})) result.emplace_back(day);
  }
  return result;
}

/// Some days of the week, in full where it is one of them.
std::string inWords(const std::vector<weekday>& days) {
  if (days.size() == 1) return nameOf(days.front());
  Texts names;
  for (const auto day : days) names.push_back(nameOf(day).substr(0, 3));
  const auto last = days.front().iso_encoding() + days.size() - 1;
  if (days.size() > 2 && days.back().iso_encoding() == last) return names.front() + " to " + names.back();
  return listed(names);
}

Texts acceptedRanges(const CrontabLine& line) {
  Texts result(weekRanges.begin(), weekRanges.end());
  std::erase_if(result, [&](const auto& range) { return !acceptsWeek(line, range); });
  return result;
}

std::string daysInWords(const CrontabLine& line) {
  const auto days = acceptedWeekdays(line);
  const auto ranges = acceptedRanges(line);
  if (ranges.size() == weekRanges.size()) {
    if (days.size() == 7) return "every day";
    return days.size() == 1 ? "every " + inWords(days) : inWords(days);
  }
  if (days.size() == 7) return "days " + listed(ranges) + " of the month";
  Texts ordinals;
  if (acceptsWeek(line, weekRanges[0])) ordinals.emplace_back("1st");
  if (acceptsWeek(line, weekRanges[1])) ordinals.emplace_back("2nd");
  if (acceptsWeek(line, weekRanges[2])) ordinals.emplace_back("3rd");
  if (acceptsWeek(line, weekRanges[3])) ordinals.insert(ordinals.end(), {"4th", "5th"});
  return listed(ordinals) + " " + inWords(days) + " of the month";
}

/// A part of a line as messages quote it: in quotes where its ends could not be seen otherwise.
std::string quoted(std::string_view text) {
  constexpr std::size_t mostColumns = 40;
  const bool isPlain = !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c <= '~'; });
  const auto shown = shortened(text, mostColumns);
  return isPlain ? shown : '"' + shown + '"';
}

bool consistsOf(std::string_view text, std::string_view characters) {
  return text.find_first_not_of(characters) == text.npos;
}

constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view blanksAndTabs = " \t";

/// Whether a word could be a field of a crontab(5) other than the command.
bool looksLikeTime(std::string_view word) {
  static constexpr std::array names = {"sun", "mon", "tue", "wed", "thu", "fri", "sat", "jan", "feb", "mar",
                                       "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
  const auto isName = [&](auto name) { return isSame(word.substr(0, 3), name, {.caseInsensitive = true}); };
  if (word.empty() || word.starts_with('/')) return false;
  while (!word.empty()) {
    const bool startsWithName = std::ranges::any_of(names, isName);
    const auto end = word.find_first_not_of(startsWithName ? letters : "0123456789*,-/+?#:");
    if (end == 0) return false;
    word.remove_prefix(std::min(end, word.size()));
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
  if (number && (*number < 0 || *number > most)) return name + " " + quoted(field) + " is not one of " + range;
  if (number) return std::nullopt;
  std::string problem = name + " " + quoted(field) + " is not a single number from " + range;
  if (field.find_first_of(" ") != field.npos) return problem + ": only TABs may stand around it";
  if (field.find_first_of("*,-/") != field.npos) return problem + ": each time needs a line of its own";
  return problem;
}

std::string_view lastWord(const CrontabLine& line) {
  return split(line.parts().back(), ' ').back();
}

/// Whether bash gives a word back as it is, or what it gives is no URL because of a control character.
bool isPlain(std::string_view word) {
  return !word.starts_with('-') && std::ranges::all_of(word, [](char c) {
    const bool isAscii = c >= ' ' && c <= '~';
    return !isAscii || consistsOf({&c, 1}, digits) || consistsOf({&c, 1}, letters) ||
           consistsOf({&c, 1}, "/:.%_-+@,=^");
  });
}

/// Whether bash takes a word for something that follows the words of a command: a redirection, an operator, a comment.
bool isNoWord(std::string_view word) {
  if (word.starts_with('#')) return true;
  word.remove_prefix(std::min(word.find_first_not_of(digits), word.size()));
  return !word.empty() && consistsOf(word.substr(0, 1), "<>&|;");
}

/// Whether a quote is open at the end of a word. Of words that bash expands it is not known.
bool hasOpenQuote(std::string_view word) {
  if (word.find_first_of("$`") != word.npos) return false;
  char quote = 0;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '\\' && quote != '\'') {
      ++i;
    } else if (word[i] == quote) {
      quote = 0;
    } else if (quote == 0 && (word[i] == '\'' || word[i] == '"')) {
      quote = word[i];
    }
  }
  return quote != 0;
}

std::optional<std::string> urlProblem(const CrontabLine& line) {
  const auto word = lastWord(line);
  if (word.empty()) return "the command does not end in a URL";
  if (isNoWord(word)) return quoted(word) + " is not a URL: the last word of the command has to be one";
  if (hasOpenQuote(word)) return "a quote in " + quoted(word) + " is not closed: a blank in a URL is written as %20";
  if (!Commands::isArgument(word)) return "the URL is too long, or has a NUL in it";
  if (!isPlain(word) || URL::parse(word)) return std::nullopt;
  return quoted(word) + " is not a URL: what may not stand in one has to be percent-encoded";
}

bool isListOf(std::string_view field, auto isItem) {
  return std::ranges::all_of(split(field, ','), isItem);
}

std::optional<std::string> joined(const Texts& remarks) {
  if (remarks.empty()) return std::nullopt;
  std::string result = remarks.front();
  for (std::size_t i = 1; i < remarks.size(); ++i) result.append("; ").append(remarks[i]);
  return result;
}

}  // namespace

std::string scheduleInWords(const CrontabLine& line) {
  if (line.parts().size() != CrontabLine::fieldCount) return "never";
  const auto time = firingTime(line);
  if (!time) return "never";
  const std::chrono::hh_mm_ss parts{*time};
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), " at %02d:%02d", static_cast<int>(parts.hours().count()),
                static_cast<int>(parts.minutes().count()));
  return daysInWords(line) + text.data();
}

std::string copyName(const CrontabLine& line) {
  auto path = lastWord(line);
  const bool isInQuotes = path.size() > 1 && path.front() == path.back() && consistsOf(path.substr(0, 1), "\"'");
  if (isInQuotes) path = path.substr(1, path.size() - 2);
  path = path.substr(0, path.find_first_of("?#"));
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return std::string(path.substr(path.rfind('/') + 1));
}

std::optional<std::string> problemOf(const CrontabLine& line) {
  const std::string_view text = line.crontabLine();
  if (text.find("\r\n") != text.npos) return "CR LF does not end a line: LF alone is needed";
  const auto start = std::min(text.find_first_not_of("# \t"), text.size());
  if (const auto sign = text.substr(0, start); sign.find('#') != sign.npos) {
    const bool wouldRun = !problemOf(CrontabLine(std::string(text.substr(start))));
    return wouldRun ? "commented out: take off " + quoted(sign) + " to have it run" : "a comment, not a schedule";
  }
  if (line.parts().size() != CrontabLine::fieldCount) return fieldCountProblem(line);

  Texts problems;
  const auto add = [&](std::optional<std::string> problem) {
    if (problem) problems.push_back(*std::move(problem));
  };
  add(numberProblem("minute", line.part(CrontabLine::minute), 59));
  add(numberProblem("hour", line.part(CrontabLine::hour), 23));
  if (acceptedRanges(line).empty()) {
    add("day of month " + quoted(line.part(CrontabLine::dayOfMonth)) + " is not one of 1-7, 8-14, 15-21, 22-31");
  }
  if (const auto& field = line.part(CrontabLine::dayOfWeek); acceptedWeekdays(line).empty()) {
    add("day of week " + quoted(field) + " matches no day: " +
        (field.find('7') != field.npos ? "Sunday is 0" : "days are 0 for Sunday to 6 for Saturday"));
  }
  add(urlProblem(line));
  return joined(problems);
}

std::optional<std::string> warningOf(const CrontabLine& line) {
  Texts warnings;
  const auto& dayOfMonth = line.part(CrontabLine::dayOfMonth);
  const auto ranges = acceptedRanges(line);
  const auto isRange = [](auto item) { return std::ranges::find(weekRanges, item) != weekRanges.end(); };
  if (dayOfMonth != "*" && !ranges.empty() && !isListOf(dayOfMonth, isRange)) {
    warnings.push_back("day of month " + quoted(dayOfMonth) + " means days " + listed(ranges) + " only");
  }
  const auto& month = line.part(CrontabLine::month);
  if (month != "*") warnings.push_back("month " + quoted(month) + " is not looked at: it runs in every month");
  const auto& dayOfWeek = line.part(CrontabLine::dayOfWeek);
  const auto days = acceptedWeekdays(line);
  const auto isDay = [](auto item) { return item.size() == 1 && consistsOf(item, "0123456"); };
  if (dayOfWeek != "*" && !days.empty() && !isListOf(dayOfWeek, isDay)) {
    Texts names;
    std::ranges::transform(days, std::back_inserter(names), nameOf);
    warnings.push_back("day of week " + quoted(dayOfWeek) + " means " + listed(names) + " only" +
                       (dayOfWeek.find('7') != dayOfWeek.npos ? ": 7 is no day" : ""));
  }
  if (lastWord(line).ends_with("\\r")) {  // so crontab(1) shows the CR of a line that ends in CR LF
    warnings.emplace_back("the URL ends in an r that stands for a CR: end the line in LF alone");
  }
  return joined(warnings);
}

}  // namespace zt
