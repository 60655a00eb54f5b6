#include "ztschedules/views.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <queue>
#include <utility>

#include "schedules/matching.h"
#include "util/local_time_text.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/time_text.h"

namespace zt {

using namespace std::chrono_literals;
using std::chrono::days;

namespace {

constexpr std::size_t copyColumns = 60;  // a longer name is shortened

struct Run {
  Instant time;
  const Entry* entry;
};

/// The later of two runs; of two at the same time the one further down in the crontab.
bool isAfter(const Run& a, const Run& b) {
  return std::pair(a.time, a.entry) > std::pair(b.time, b.entry);
}

std::string runsTable(const std::vector<Run>& runs, Instant now, const Calendar& calendar,
                      std::optional<std::size_t> columns) {
  if (runs.empty()) return "No schedule ever runs.\n";
  std::vector<Row> rows = {{"NEXT", "LEFT", "SCHEDULE", "COPY"}};
  for (const auto& [time, entry] : runs) {
    rows.push_back(
        {timeText(time, calendar), timeLeft(time - now), entry->schedule, shortened(entry->copy, copyColumns)});
  }
  return table(rows, 2, columns);
}

/// How many runs there are on a local day.
std::size_t countRuns(std::span<const Entry> entries, std::chrono::local_days day, const Calendar& calendar) {
  std::size_t runs = 0;
  for (const auto& entry : entries) {
    if (!entry.next || !acceptsDay(entry.line, day)) continue;
    runs += calendar.instants(day + firingTime(entry.line).value()).size();
  }
  return runs;
}

}  // namespace

std::string nextRunsView(std::span<const Entry> entries, Instant now, const Calendar& calendar,
                         std::optional<std::size_t> columns) {
  std::vector<Run> runs;
  for (const auto& entry : entries) {
    if (entry.next) runs.push_back({*entry.next, &entry});
  }
  std::ranges::sort(runs, [](const Run& a, const Run& b) { return isAfter(b, a); });
  return runsTable(runs, now, calendar, columns);
}

std::string runsView(std::span<const Entry> entries, std::size_t count, Instant now, const Calendar& calendar,
                     std::optional<std::size_t> columns) {
  std::priority_queue<Run, std::vector<Run>, decltype(&isAfter)> ahead(&isAfter);
  for (const auto& entry : entries) {
    if (entry.next) ahead.push({*entry.next, &entry});
  }
  std::vector<Run> runs;
  while (runs.size() < count && !ahead.empty()) {
    const Run run = ahead.top();
    ahead.pop();
    runs.push_back(run);
    if (const auto next = run.entry->line.nextRunDate(run.time + 1min, calendar)) ahead.push({*next, run.entry});
  }
  return runsTable(runs, now, calendar, columns);
}

std::string monthView(std::span<const Entry> entries, std::chrono::year_month month, const Calendar& calendar,
                      bool inColor) {
  const std::string title = formatted(std::chrono::local_days{month / 1}, "%B %Y");
  const std::string weekdays = " Mo  Tu  We  Th  Fr  Sa  Su";
  std::string result((weekdays.size() - title.size()) / 2, ' ');
  result.append(title).append("\n").append(weekdays).append("\n");
  const auto mark = [&](const std::string& day) { return inColor ? "\x1b[1;32m" + day + "\x1b[0m " : day + "*"; };
  std::string example;
  std::size_t runs = 0;
  std::size_t runDays = 0;
  const std::chrono::local_days first{month / 1};
  const std::chrono::local_days end{(month + std::chrono::months{1}) / 1};
  for (auto monday = first - (std::chrono::weekday{first} - std::chrono::Monday); monday < end; monday += days{7}) {
    std::string week;
    for (auto day = monday; day < std::min(monday + days{7}, end); day += days{1}) {
      const auto number = day < first ? "  " : formatted(day, "%e");
      const auto runsOfDay = day < first ? 0 : countRuns(entries, day, calendar);
      week.append(" ").append(runsOfDay > 0 ? mark(number) : number + " ");
      runs += runsOfDay;
      if (runsOfDay > 0 && runDays++ == 0) example = mark(number);
    }
    result.append(week, 0, week.find_last_not_of(' ') + 1).append("\n");
  }
  if (runs == 0) return result + "\nNo copy is due.\n";
  return result.append("\n" + example + " a day on which copies are due: ")
      .append(std::to_string(runs) + " on " + std::to_string(runDays) + (runDays == 1 ? " day\n" : " days\n"));
}

std::string jsonView(std::span<const Entry> entries, const Calendar& calendar) {
  using Json = nlohmann::ordered_json;
  auto array = Json::array();
  for (const auto& entry : entries) {
    const auto& next = entry.next;
    array.push_back({{"line", entry.line.crontabLine()},
                     {"due", entry.due},
                     {"next", next ? Json(next->time_since_epoch().count()) : Json()},
                     {"nextLocal", next ? Json(rfc3339(*next, calendar)) : Json()},
                     {"schedule", entry.schedule},
                     {"problem", entry.problem ? Json(*entry.problem) : Json()}});
  }
  // In ASCII alone, so that what is a control character outside of ASCII is escaped as well.
  return array.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

std::string problemsView(std::span<const Entry> entries, std::optional<std::size_t> columns) {
  std::vector<Row> rows = {{"LINE", "COPY", "PROBLEM"}};
  const auto add = [&](const Entry& entry, const std::string& problem) {
    rows.push_back({std::to_string(entry.number), shortened(entry.copy, copyColumns), problem});
  };
  for (const auto& entry : entries) {
    if (entry.problem) add(entry, *entry.problem);
    if (entry.warning) add(entry, "warning: " + *entry.warning);
  }
  return rows.size() > 1 ? table(rows, 1, columns) : std::string();
}

}  // namespace zt
