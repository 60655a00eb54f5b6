#include "ztschedules/new_line.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "discovery/crontab_reader.h"
#include "util/text.h"
#include "util/url.h"
#include "ztschedules/copy_url.h"
#include "ztschedules/diagnostics.h"
#include "ztschedules/schedule_description.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void reject(std::string_view text, const std::string& reason) {
  throw std::invalid_argument(quote(text) + " " + reason);
}

/// The number that one or two digits name, if it is below `limit`.
std::optional<int> readNumber(std::string_view digits, int limit) {
  int number{};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = error == std::errc{} && end == digits.data() + digits.size() && digits.size() <= 2;
  return isNumber && number >= 0 && number < limit ? std::optional(number) : std::nullopt;
}

std::chrono::minutes readTimeOfDay(std::string_view text) {
  const auto colon = std::min(text.find(':'), text.size());
  const auto hour = readNumber(text.substr(0, colon), 24);
  const auto minute = colon + 3 == text.size() ? readNumber(text.substr(colon + 1), 60) : std::nullopt;
  if (!hour || !minute) reject(text, "is not a time such as 09:30, up to 23:59; each time needs its own line");
  return std::chrono::hours{*hour} + std::chrono::minutes{*minute};
}

/// The items that a list such as "a,c-e" names. A range can go past the last item to the first. `indexOf` gives the
/// index of a name, or nullopt.
template <std::size_t count>
std::bitset<count> readList(std::string_view list, const std::string& possible, auto indexOf) {
  std::bitset<count> result;
  for (const auto item : util::split(list, ',')) {
    const auto dash = item.find('-');
    const auto first = indexOf(item.substr(0, dash));
    const auto last = dash == item.npos ? first : indexOf(item.substr(dash + 1));
    if (!first || !last) reject(item, possible);
    result.set(*last);
    for (auto i = *first; i != *last; i = (i + 1) % count) result.set(i);
  }
  return result;
}

std::optional<std::size_t> weekdayOf(std::string_view name) {
  static constexpr std::array<std::string_view, 7> names = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                            "Thursday", "Friday", "Saturday"};
  const auto* const found = std::ranges::find_if(names, [&](std::string_view whole) {
    return name.size() >= 3 && util::isSame(name, whole.substr(0, name.size()), {.caseInsensitive = true});
  });
  if (found == names.end()) return std::nullopt;
  return static_cast<std::size_t>(found - names.begin());
}

std::bitset<7> readDays(std::string_view days) {
  return readList<7>(days, "is not a day: use names without blanks, as in mon or mon,wed-fri", weekdayOf);
}

/// The ranges of days for weeks of the month. The last range has two of these.
std::bitset<dayRanges.size()> readWeeks(std::string_view weeks, std::vector<std::string>& warnings) {
  static constexpr auto* possible = "is not a week of the month: use 1, 2, 3 or last-two, as in 1 or 1,3";
  const auto indexOf = [](std::string_view week) {
    const auto number = readNumber(week, 6);
    return number && *number > 0 ? std::optional<std::size_t>(*number - 1) : std::nullopt;
  };
  std::bitset<5> read;
  for (const auto item : util::split(weeks, ',')) {
    read |= item == "last-two" ? std::bitset<5>(0b11000) : readList<5>(item, possible, indexOf);
  }
  if (read[4] && !read[3]) reject("5", "cannot be without 4: use last-two for the fourth and the fifth week together");
  if (read[3] && !read[4]) warnings.emplace_back("week 4 is the fourth and the fifth: a line cannot tell them apart");
  return {read.to_ulong() & 0xF};
}

Schedule readSchedule(const NewSchedule& asked, std::vector<std::string>& warnings) {
  Schedule schedule;
  schedule.timeOfDay = readTimeOfDay(asked.time);
  schedule.weekdays = asked.days ? readDays(*asked.days) : schedule.weekdays.set();
  schedule.ranges = asked.weeks ? readWeeks(*asked.weeks, warnings) : schedule.ranges.set();
  return schedule;
}

std::string separatedByCommas(const std::vector<std::string>& items) {
  std::string list;
  for (const auto& item : items) list.append(list.empty() ? "" : ",").append(item);
  return list;
}

/// The five time fields, each with a TAB behind it.
std::string timeFields(const Schedule& schedule) {
  const std::chrono::hh_mm_ss time{*schedule.timeOfDay};
  std::vector<std::string> days;
  for (std::size_t day = 0; day < schedule.weekdays.size(); ++day) {
    if (schedule.weekdays[day]) days.push_back(std::to_string(day));
  }
  return std::to_string(time.minutes().count()) + '\t' + std::to_string(time.hours().count()) + '\t' +
         (schedule.ranges.all() ? "*" : separatedByCommas(rangeTexts(schedule))) + "\t*\t" +
         (schedule.weekdays.all() ? "*" : separatedByCommas(days)) + '\t';
}

/// The absolute path of a folder, with a slash at its end, or of something else that is there.
std::string absolutePath(const fs::path& path) {
  // ".." after a symbolic link is not what a text without both would name.
  const bool goesUp = std::ranges::find(path, "..") != path.end();
  const auto absolute = goesUp ? fs::weakly_canonical(fs::absolute(path)) : fs::absolute(path).lexically_normal();
  std::error_code unknown;
  const bool isFolder = fs::is_directory(absolute, unknown) || !fs::exists(absolute, unknown);
  auto text = isFolder ? (absolute / "").string() : absolute.string();
  while (text.starts_with("//")) text.erase(0, 1);
  return text;
}

/// Whether a text begins as a whole URL does (RFC 3986, section 3.1).
bool beginsWithScheme(std::string_view text) {
  const auto colon = text.find(':');
  return colon != text.npos && std::isalpha(static_cast<unsigned char>(text.front())) != 0 &&
         std::ranges::all_of(text.substr(0, colon), [](unsigned char c) {
           return std::isalnum(c) != 0 || std::string_view("+-.").find(static_cast<char>(c)) != std::string_view::npos;
         });
}

util::URL urlOf(const std::string& copy) {
  if (copy.empty() || copy.find('\n') != copy.npos) reject(copy, "is neither a URL nor the path of a folder");
  std::error_code unknown;
  if (beginsWithScheme(copy) && !fs::exists(copy, unknown)) {
    if (auto url = util::URL::parse(copy)) return *std::move(url);
    reject(copy, "is not a URL, and there is no such folder: percent-encode what a URL cannot contain");
  }
  try {
    return util::URL::ofFile(absolutePath(copy));
  } catch (const fs::filesystem_error& error) {
    reject(copy, "cannot be found: " + error.code().message());
  }
}

/// What is probably wrong with a URL that a line can have.
std::optional<std::string> warningOf(const util::URL& url) {
  const auto& text = url.absoluteString();
  if (!text.starts_with("file:///")) {
    if (text.find(":/") != text.npos) return std::nullopt;
    return quote(text) + " is taken for a URL: if it is a folder, write " + quote("./" + text);
  }
  std::error_code error;
  if (fs::exists(url.path(), error)) return std::nullopt;
  return quote(url.path()) + (error ? " cannot be found: " + error.message() : " does not exist");
}

/// A text as one word for bash, and for cron, which takes a plain percent sign for a line end.
std::string escaped(std::string_view text) {
  static constexpr std::string_view plain = "+,-./:=@_";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && std::isalnum(byte) == 0 && plain.find(c) == plain.npos) result += '\\';
    result += c;
  }
  return result;
}

/// What stands before the URL. Throws a std::invalid_argument if that would break the line, or the crontab.
std::string commandOf(const NewSchedule& asked, const std::optional<fs::path>& program) {
  auto command = asked.command ? *asked.command : program ? escaped(program->string()) : ": " + std::string(marker);
  if (!isMarked(command)) reject(command, "does not contain " + std::string(marker) + ", which marks a schedule");
  if (command.find_first_of("\t\r\n") != command.npos || !util::isValidUtf8(command)) {
    reject(command, "cannot be in a line: it contains a TAB, a line end, or bytes that are not UTF-8");
  }
  bool isEscaped = false;
  for (const char c : command) {
    if (c == '%' && !isEscaped) reject(command, "contains a plain %, which ends a line for cron: write \\%");
    isEscaped = c == '\\' && !isEscaped;
  }
  return command;
}

/// Throws a std::invalid_argument unless a line means what it was made from. Gives what is to be said about it.
std::optional<std::string> readBack(const CrontabLine& line, const Schedule& schedule, const util::URL& url) {
  const auto [error, warning] = diagnose(line);
  if (error) reject(url.absoluteString(), "cannot be scheduled: " + *error);
  const auto read = parse(line);
  const auto readURL = certainURL(line);
  if (read.timeOfDay != schedule.timeOfDay || read.weekdays != schedule.weekdays || read.ranges != schedule.ranges ||
      !readURL || readURL->absoluteString() != url.absoluteString()) {
    reject(url.absoluteString(), "cannot be scheduled: the line would not be read as it was meant");
  }
  return warning;
}

}  // namespace

NewLine newLine(const NewSchedule& asked, const std::optional<fs::path>& program) {
  constexpr std::size_t mostForCron = 998;  // MAX_COMMAND of Vixie cron, without the ends of line and text
  NewLine result;
  const auto schedule = readSchedule(asked, result.warnings);
  const auto url = urlOf(asked.copy);
  if (const auto warning = warningOf(url)) result.warnings.push_back(*warning);
  const auto command = commandOf(asked, program) + ' ' + escaped(url.absoluteString());
  result.line = timeFields(schedule) + command;
  if (const auto warning = readBack(CrontabLine(result.line), schedule, url)) result.warnings.push_back(*warning);
  if (command.size() > mostForCron) {
    result.warnings.push_back("Debian's cron takes no command of more than " + std::to_string(mostForCron) +
                              " bytes, and this has " + std::to_string(command.size()));
  }
  return result;
}

}  // namespace zt
