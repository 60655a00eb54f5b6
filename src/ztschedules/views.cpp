#include "ztschedules/views.h"

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <numeric>
#include <queue>
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

std::string runsTable(const std::vector<Run>& runs, Instant now, const Calendar& calendar,
                      const platform::Terminal& terminal) {
  if (runs.empty()) return "No schedule makes a copy.\n";
  std::vector<Row> rows = {{{"NEXT", "LEFT", "SCHEDULE", "COPY"}}};
  for (const auto& [time, entry] : runs) {
    rows.push_back({{printable(util::timeText(time, calendar)), util::timeLeft(time - now), describe(entry->schedule),
                     nameOf(*entry)},
                    time <= now ? Style::dueNow : Style::plain});
  }
  return table(rows, 2, terminal);
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

std::string nextRunsView(std::span<const ScheduleEntry> entries, Instant now, const Calendar& calendar,
                         const platform::Terminal& terminal) {
  auto runs = nextRuns(entries);
  std::ranges::sort(runs);
  return runsTable(runs, now, calendar, terminal);
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
  return runsTable(runs, now, calendar, terminal);
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

std::string jsonView(std::span<const ScheduleEntry> entries, const Calendar& calendar) {
  using Json = nlohmann::ordered_json;
  auto array = Json::array();
  for (const auto& entry : entries) {
    const auto& next = entry.next;
    const auto text = [](const auto& message) { return message ? Json(*message) : Json(); };
    array.push_back({{"lineNumber", entry.number},
                     {"line", entry.line.crontabLine()},
                     {"copy", entry.copy},
                     {"due", entry.due},
                     {"next", next ? Json(next->time_since_epoch().count()) : Json()},
                     {"nextLocal", next ? Json(util::rfc3339(*next, calendar)) : Json()},
                     {"schedule", describe(entry.schedule)},
                     {"problem", text(entry.diagnostics.error)},
                     {"warning", text(entry.diagnostics.warning)}});
  }
  // ASCII only, so that control characters beyond ASCII are escaped as well.
  return array.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
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
