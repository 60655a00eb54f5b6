#include "ztschedules/new_line.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cctype>
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

std::optional<int> readNumber(std::string_view digits, std::size_t most, int limit) {
  const bool isNumber = !digits.empty() && digits.size() <= most &&
                        std::ranges::all_of(digits, [](unsigned char c) { return std::isdigit(c) != 0; });
  const int number = isNumber ? std::stoi(std::string(digits)) : limit;
  return number < limit ? std::optional(number) : std::nullopt;
}

std::chrono::minutes readTimeOfDay(std::string_view text) {
  const auto colon = std::min(text.find(':'), text.size());
  const auto hour = readNumber(text.substr(0, colon), 2, 24);
  const auto minute = colon + 3 == text.size() ? readNumber(text.substr(colon + 1), 2, 60) : std::nullopt;
  if (!hour || !minute) reject(text, "is not one time from 00:00 to 23:59: each time needs its own line");
  return std::chrono::hours{*hour} + std::chrono::minutes{*minute};
}

/// The items that a list such as "a,c-e" names. A range can go past the last item to the first. `indexOf` gives the
/// index of a name, or nullopt.
template <std::size_t count>
std::bitset<count> readList(std::string_view list, const std::string& possible, auto indexOf) {
  std::bitset<count> result;
  for (const auto item : util::split(list, ',')) {
    const auto dash = item.find('-');
    const bool isRange = !indexOf(item) && dash != item.npos;
    const auto first = indexOf(isRange ? item.substr(0, dash) : item);
    const auto last = isRange ? indexOf(item.substr(dash + 1)) : first;
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

std::optional<std::size_t> rangeOf(std::string_view week) {
  if (week == "last-two") return 3;
  const auto number = readNumber(week, 1, 5);
  return number && *number > 0 ? std::optional<std::size_t>(*number - 1) : std::nullopt;
}

Schedule readSchedule(const NewSchedule& asked) {
  Schedule schedule;
  schedule.timeOfDay = readTimeOfDay(asked.time);
  schedule.weekdays.set();
  schedule.ranges.set();
  if (asked.days) {
    schedule.weekdays = readList<7>(*asked.days, "is not a day: use names, as in mon or mon,wed-fri", weekdayOf);
  }
  if (asked.weeks) {
    schedule.ranges =
        readList<4>(*asked.weeks,
                    "is not a week of the month that a line can have: use 1, 2, 3 or last-two (the fourth "
                    "and the fifth, as does 4), or a list such as 1,3",
                    rangeOf);
  }
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
  return isFolder ? (absolute / "").string() : absolute.string();
}

/// Whether a text begins as a whole URL does (RFC 3986, section 3.1).
bool beginsWithScheme(std::string_view text) {
  const auto colon = text.find(':');
  return colon != text.npos && std::isalpha(static_cast<unsigned char>(text.front())) != 0 &&
         std::ranges::all_of(text.substr(0, colon), [](unsigned char c) {
           return std::isalnum(c) != 0 || std::string_view("+-.").find(static_cast<char>(c)) != std::string_view::npos;
         });
}

util::URL urlOf(const std::string& copy, std::vector<std::string>& warnings) {
  if (copy.empty() || copy.find('\n') != copy.npos) reject(copy, "is neither a URL nor the path of a folder");
  if (beginsWithScheme(copy)) {
    if (auto url = util::URL::parse(copy)) return *std::move(url);
    reject(copy, "is not a URL: percent-encode what a URL cannot contain, or begin the path of a folder with ./");
  }
  const auto path = absolutePath(copy);
  std::error_code error;
  if (!fs::exists(path, error)) {
    warnings.push_back(quote(path) + (error ? " cannot be found: " + error.message() : " does not exist"));
  }
  return util::URL::ofFile(path);
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

std::string commandOf(const NewSchedule& asked, const std::optional<fs::path>& program) {
  if (!asked.command) return program ? escaped(program->string()) : ": " + std::string(marker);
  const std::string_view command = *asked.command;
  if (!isMarked(command)) reject(command, "does not contain " + std::string(marker) + ", which marks a schedule");
  if (command.find_first_of("\t\n") != command.npos) reject(command, "contains a TAB or a line end");
  for (auto sign = command.find('%'); sign != command.npos; sign = command.find('%', sign + 1)) {
    if (sign == 0 || command[sign - 1] != '\\')
      reject(command, "contains a plain %, which ends a line for cron: write \\%");
  }
  return std::string(command);
}

/// Throws unless a line means what it was made from.
void readBack(const CrontabLine& line, const Schedule& schedule, const util::URL& url) {
  if (const auto error = diagnose(line).error) reject(url.absoluteString(), "cannot be scheduled: " + *error);
  const auto read = parse(line);
  const auto readURL = certainURL(line);
  if (!isMarked(line.crontabLine()) || read.timeOfDay != schedule.timeOfDay || read.weekdays != schedule.weekdays ||
      read.ranges != schedule.ranges || !readURL || readURL->absoluteString() != url.absoluteString()) {
    reject(url.absoluteString(), "cannot be scheduled: the line would not be read as it was meant");
  }
}

}  // namespace

NewLine newLine(const NewSchedule& asked, const std::optional<fs::path>& program) {
  NewLine result;
  const auto schedule = readSchedule(asked);
  const bool namesFourthWeek = asked.weeks && asked.weeks->find('4') != asked.weeks->npos;
  if (namesFourthWeek)
    result.warnings.emplace_back("week 4 is the fourth and the fifth: a line cannot tell them apart");
  const auto url = urlOf(asked.copy, result.warnings);
  result.line = timeFields(schedule) + commandOf(asked, program) + ' ' + escaped(url.absoluteString());
  readBack(CrontabLine(result.line), schedule, url);
  return result;
}

}  // namespace zt
