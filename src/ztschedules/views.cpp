#include "ztschedules/views.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <queue>
#include <string_view>
#include <utility>
#include <vector>

#include "schedules/next_event.h"
#include "util/time_text.h"
#include "ztschedules/schedule_description.h"
#include "ztschedules/terminal_text.h"

namespace zt {

using namespace std::chrono_literals;

namespace {

using Run =
    std::pair<Instant, const ScheduleEntry*>;  // of two at the same time, the upper one in the crontab comes first

/// The name of a copy as a cell.
std::string nameOf(const ScheduleEntry& entry) {
  constexpr std::size_t mostColumns = 60;
  return shortened(entry.copy, mostColumns);
}

std::vector<Run> nextRuns(std::span<const ScheduleEntry> entries) {
  std::vector<Run> runs;
  for (const auto& entry : entries) {
    if (entry.makesCopies()) runs.emplace_back(*entry.next, &entry);
  }
  return runs;
}

constexpr std::array<std::string_view, 5> outcomeNames = {"started", "failed", "missed", "not known", "not due"};

std::string nameOf(Outcome outcome) {
  return std::string(outcomeNames.at(static_cast<std::size_t>(outcome)));
}

/// The run of an entry, or null.
const PastRun* runOf(const ScheduleEntry& entry, std::span<const PastRun> runs) {
  const auto run = std::ranges::find(runs, &entry, &PastRun::entry);
  return run == runs.end() ? nullptr : &*run;
}

/// A cell about a last run.
std::string lastCell(const PastRun* run, Instant now) {
  if (run == nullptr) return "-";
  return run->outcome == Outcome::started ? util::timeLeft(now - run->due) + " ago" : nameOf(run->outcome);
}

std::string runsTable(const std::vector<Run>& runs, const std::optional<std::vector<PastRun>>& last, Instant now,
                      const Calendar& calendar, const platform::Terminal& terminal) {
  constexpr std::size_t lastColumn = 2;
  if (runs.empty()) return "No schedule makes a copy.\n";
  std::vector<Row> rows = {{{"NEXT", "LEFT", "SCHEDULE", "COPY"}}};
  for (const auto& [time, entry] : runs) {
    rows.push_back({{printable(util::timeText(time, calendar)), util::timeLeft(time - now), describe(entry->schedule),
                     nameOf(*entry)},
                    time <= now ? Style::dueNow : Style::plain});
  }
  if (!last) return table(rows, lastColumn, terminal);
  rows.front().cells.insert(rows.front().cells.begin() + lastColumn, "LAST");
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const auto* const run = runOf(*runs[i].second, *last);
    auto& row = rows[i + 1];
    row.cells.insert(row.cells.begin() + lastColumn, lastCell(run, now));
    if (run != nullptr && (run->outcome == Outcome::failed || run->outcome == Outcome::missed))
      row.errorCell = lastColumn;
  }
  return table(rows, lastColumn + 1, terminal);
}

using Json = nlohmann::ordered_json;

Json secondsSince1970(Instant instant) {
  return instant.time_since_epoch().count();
}

Json textOrNull(const std::optional<std::string>& text) {
  return text ? Json(*text) : Json();
}

/// ASCII only, so that control characters beyond ASCII are escaped as well.
std::string jsonText(const Json& json) {
  return json.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

std::string delayText(std::chrono::seconds delay) {
  return delay > 0s ? util::timeLeft(delay) : "0s";
}

/// How many copies were due, and how many had each outcome.
std::string summaryOf(const std::array<std::size_t, outcomeNames.size()>& counts) {
  constexpr auto notDue = static_cast<std::size_t>(Outcome::notDue);
  const auto due = std::accumulate(counts.begin(), counts.begin() + notDue, std::size_t{0});
  if (due == 0) return "No copy was due.";
  std::string text = due == 1 ? "1 copy was due: " : std::to_string(due) + " copies were due: ";
  for (std::size_t i = 0; i < notDue; ++i) {
    if (counts.at(i) > 0) text.append(std::to_string(counts.at(i))).append(" ").append(outcomeNames.at(i)).append(", ");
  }
  text.resize(text.size() - 2);
  return text + ".";
}

/// How many runs there are on a local day.
std::size_t countRuns(std::span<const ScheduleEntry> entries, std::chrono::local_days day, const Calendar& calendar) {
  std::size_t runs = 0;
  for (const auto& entry : entries) {
    if (!entry.makesCopies() || !entry.schedule.firesOn(day)) continue;
    runs += calendar.instants(day + *entry.schedule.timeOfDay).size();
  }
  return runs;
}

std::string highlighted(const std::string& day, bool hasColor) {
  return hasColor ? styled(day, Style::dueDay, hasColor) + " " : day + "*";
}

/// The days of a month in lines from Monday to Sunday. Those that have `runs`, a number for each day, are highlighted.
std::string weeksOf(std::chrono::year_month month, const std::vector<std::size_t>& runs, bool hasColor) {
  std::string result;
  const std::chrono::weekday firstWeekday{std::chrono::local_days{month / 1}};
  auto column = (firstWeekday - std::chrono::Monday).count();
  std::string week(static_cast<std::size_t>(column) * 4, ' ');
  for (std::size_t day = 1; day <= runs.size(); ++day) {
    const auto number = util::formatted(std::chrono::local_days{month / static_cast<int>(day)}, "%e");
    week.append(" ").append(runs[day - 1] > 0 ? highlighted(number, hasColor) : number + " ");
    if (++column % 7 == 0 || day == runs.size()) {
      result.append(week, 0, week.find_last_not_of(' ') + 1).append("\n");
      week.clear();
    }
  }
  return result;
}

}  // namespace

std::string nextRunsView(std::span<const ScheduleEntry> entries, const std::optional<std::vector<PastRun>>& last,
                         Instant now, const Calendar& calendar, const platform::Terminal& terminal) {
  auto runs = nextRuns(entries);
  std::ranges::sort(runs);
  return runsTable(runs, last, now, calendar, terminal);
}

std::string nextRunView(std::span<const ScheduleEntry> entries) {
  const auto runs = nextRuns(entries);
  if (runs.empty()) return {};
  return std::to_string(std::ranges::min(runs).first.time_since_epoch().count()) + "\n";
}

std::string runsView(std::span<const ScheduleEntry> entries, std::size_t count, Instant now, const Calendar& calendar,
                     const platform::Terminal& terminal) {
  std::priority_queue ahead(std::greater<>(), nextRuns(entries));
  std::vector<Run> runs;
  while (runs.size() < count && !ahead.empty()) {
    const auto [time, entry] = runs.emplace_back(ahead.top());
    ahead.pop();
    if (const auto next = nextRunDate(entry->schedule, time + 1min, calendar)) ahead.emplace(*next, entry);
  }
  return runsTable(runs, std::nullopt, now, calendar, terminal);
}

std::string monthView(std::span<const ScheduleEntry> entries, std::chrono::year_month month, const Calendar& calendar,
                      const platform::Terminal& terminal) {
  std::vector<std::size_t> runs;
  for (std::chrono::local_days day{month / 1}; day <= std::chrono::local_days{month / std::chrono::last}; ++day) {
    runs.push_back(countRuns(entries, day, calendar));
  }
  const std::string weekdays = " Mo  Tu  We  Th  Fr  Sa  Su";
  const std::string title = util::formatted(std::chrono::local_days{month / 1}, "%B %Y");
  const auto daysWithRuns = static_cast<std::ptrdiff_t>(runs.size()) - std::ranges::count(runs, 0U);

  const std::string legend =
      "a day on which copies are due: " + std::to_string(std::accumulate(runs.begin(), runs.end(), 0UL)) + " on " +
      std::to_string(daysWithRuns) + (daysWithRuns == 1 ? " day" : " days");
  const auto columns = std::max(terminal.columns.value_or(80), weekdays.size());
  auto indent = highlighted("dd", terminal.hasColor) + " ";

  std::string view = std::string((weekdays.size() - title.size()) / 2, ' ') + title + '\n' + weekdays + '\n' +
                     weeksOf(month, runs, terminal.hasColor) + '\n';
  for (const auto line : wrapped(legend, columns - 4)) {
    view.append(std::exchange(indent, "    ")).append(line).append("\n");
  }
  return view;
}

std::string jsonView(std::span<const ScheduleEntry> entries, std::span<const PastRun> last, const Calendar& calendar) {
  auto array = Json::array();
  for (const auto& entry : entries) {
    const auto& next = entry.next;
    const auto* const run = runOf(entry, last);
    array.push_back({{"lineNumber", entry.number},
                     {"line", entry.line.crontabLine()},
                     {"copy", entry.copy},
                     {"due", entry.due},
                     {"next", next ? secondsSince1970(*next) : Json()},
                     {"nextLocal", next ? Json(util::rfc3339(*next, calendar)) : Json()},
                     {"schedule", describe(entry.schedule)},
                     {"last", run != nullptr ? secondsSince1970(run->due) : Json()},
                     {"lastResult", run != nullptr ? Json(nameOf(run->outcome)) : Json()},
                     {"problem", textOrNull(entry.diagnostics.error)},
                     {"warning", textOrNull(entry.diagnostics.warning)}});
  }
  return jsonText(array);
}

std::string historyView(std::span<const PastRun> runs, bool all, const Calendar& calendar,
                        const platform::Terminal& terminal) {
  std::map<const ScheduleEntry*, const PastRun*> last;
  for (const auto& run : runs) last[run.entry] = &run;
  std::vector<Row> rows = {{{"DUE", "RESULT", "DELAY", "COPY", "REASON"}}};
  std::array<std::size_t, outcomeNames.size()> counts{};
  for (const auto& run : runs) {
    ++counts.at(static_cast<std::size_t>(run.outcome));
    if (!all && !isProblem(run) && last[run.entry] != &run) continue;
    const bool isLost = run.outcome == Outcome::failed || run.outcome == Outcome::missed;
    rows.push_back({{printable(util::timeText(run.due, calendar)), nameOf(run.outcome),
                     run.delay ? delayText(*run.delay) : "-", nameOf(*run.entry), printable(run.reason)},
                    isLost           ? Style::error
                    : isProblem(run) ? Style::warning
                                     : Style::plain});
  }
  const auto summary = paragraph(summaryOf(counts), Style::plain, terminal);
  return rows.size() > 1 ? table(rows, 3, terminal) + '\n' + summary : summary;
}

std::string historyJson(std::span<const PastRun> runs, const Calendar& calendar) {
  auto array = Json::array();
  for (const auto& run : runs) {
    array.push_back({{"due", secondsSince1970(run.due)},
                     {"dueLocal", util::rfc3339(run.due, calendar)},
                     {"lineNumber", run.entry->number},
                     {"copy", run.entry->copy},
                     {"result", nameOf(run.outcome)},
                     {"started", run.delay ? secondsSince1970(run.due + *run.delay) : Json()},
                     {"delay", run.delay ? Json(run.delay->count()) : Json()},
                     {"reason", run.reason.empty() ? Json() : Json(run.reason)}});
  }
  return jsonText(array);
}

std::string problemsView(std::span<const ScheduleEntry> entries, const platform::Terminal& terminal) {
  std::vector<Row> rows = {{{"LINE", "COPY", "PROBLEM"}}};
  const auto add = [&](const ScheduleEntry& entry, const std::string& problem, Style style) {
    rows.push_back({{std::to_string(entry.number), nameOf(entry), problem}, style});
  };
  for (const auto& entry : entries) {
    const auto& [error, warning] = entry.diagnostics;
    if (error) add(entry, *error, Style::error);
    if (warning) add(entry, "warning: " + *warning, Style::warning);
  }
  return rows.size() > 1 ? table(rows, 1, terminal) : std::string();
}

}  // namespace zt
