// schedules: measures what it costs to find out whether a line fires and when it fires next, compared with a walk
// through the calendar by minutes, hours and days, and how the cost grows with the number of lines.

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <map>

#include "crontab.h"
#include "schedules/next_event.h"
#include "support/zone.h"

namespace zt::bench {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

const CrontabLine daily("30\t9\t*\t*\t*\tZTUtil");
const CrontabLine weekly("45\t6\t*\t*\t5\tZTUtil");
const CrontabLine thirdMonday("15\t17\t15-21\t*\t1\tZTUtil");

Calendar& newYork() {
  static Zone zone("America/New_York");
  return zone.calendar;
}

/// Spread over 2027, with its two changes of the offset.
const std::vector<Instant>& references() {
  static const auto all = [] {
    std::vector<Instant> instants(500);
    constexpr Instant begin = std::chrono::sys_days{std::chrono::year{2027} / 1 / 1};
    for (int i = 0; auto& instant : instants) instant = begin + i++ * seconds{365 * 24 * 3600 / 500};
    return instants;
  }();
  return all;
}

/// A search for the next run that shares nothing with the tool's own but what a line means.
class Walk {
 public:
  Walk(const CrontabLine& line, Instant reference)
      : schedule_(parse(line)), time_(std::chrono::floor<minutes>(reference).time_since_epoch() / seconds{1}) {
    step(seconds{0});
  }

  /// By minutes, then hours, then days, with one localtime_r(3) for each step.
  Instant nextRun() {
    const auto minute = *schedule_.timeOfDay % hours{1} / minutes{1};
    const auto hour = *schedule_.timeOfDay / hours{1};
    while (local_.tm_min != minute) step(minutes{1});
    while (local_.tm_hour != hour) step(hours{1});
    while (local_.tm_min != minute || local_.tm_hour != hour || !schedule_.firesOn(day())) {
      const long offset = local_.tm_gmtoff;
      step(hours{24});
      // A day on which the offset changes does not have 24 hours.
      if (local_.tm_gmtoff != offset) step(seconds{offset - local_.tm_gmtoff});
    }
    return Instant{seconds{time_}};
  }

 private:
  void step(seconds duration) {
    time_ += duration.count();
    ::localtime_r(&time_, &local_);
  }
  std::chrono::local_days day() const {
    return std::chrono::local_days{std::chrono::year{local_.tm_year + 1900} / (local_.tm_mon + 1) / local_.tm_mday};
  }

  Schedule schedule_;
  time_t time_;
  tm local_{};
};

/// Measures the operation, with a different reference each time.
template <class Operation>
void forReferences(benchmark::State& state, Operation operation) {
  auto reference = references().begin();
  for (auto _ : state) {
    benchmark::DoNotOptimize(operation(*reference));
    if (++reference == references().end()) reference = references().begin();
  }
}

void runsAt(benchmark::State& state, const CrontabLine& line) {
  forReferences(state, [&](Instant reference) { return zt::runsAt(line, reference, newYork()); });
}
BENCHMARK_CAPTURE(runsAt, daily, daily);
BENCHMARK_CAPTURE(runsAt, weekly, weekly);
BENCHMARK_CAPTURE(runsAt, thirdMonday, thirdMonday);

/// As in a pass, at the start of which the calendar's cache is emptied. The benchmark `update` has the cost of that.
void nextRunDate(benchmark::State& state, const CrontabLine& line) {
  forReferences(state, [&](Instant reference) {
    newYork().update();
    return line.nextRunDate(reference, newYork());
  });
}
BENCHMARK_CAPTURE(nextRunDate, daily, daily);
BENCHMARK_CAPTURE(nextRunDate, weekly, weekly);
BENCHMARK_CAPTURE(nextRunDate, thirdMonday, thirdMonday);

void update(benchmark::State& state) {
  forReferences(state, [](Instant reference) {
    newYork().update();
    return reference;
  });
}
BENCHMARK(update);

void walk(benchmark::State& state, const CrontabLine& line) {
  forReferences(state, [&](Instant reference) { return Walk(line, reference).nextRun(); });
}
BENCHMARK_CAPTURE(walk, daily, daily);
BENCHMARK_CAPTURE(walk, weekly, weekly);
BENCHMARK_CAPTURE(walk, thirdMonday, thirdMonday);

std::vector<CrontabLine> manyLines(int count) {
  std::vector<CrontabLine> lines;
  lines.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) lines.emplace_back(crontabLine(i, std::to_string(i % 24), "ZTUtil"));
  return lines;
}

void nextEventDate(benchmark::State& state) {
  const auto lines = manyLines(static_cast<int>(state.range()));
  forReferences(state, [&](Instant reference) {
    newYork().update();
    return zt::nextEventDate(lines, reference, newYork());
  });
}
BENCHMARK(nextEventDate)->RangeMultiplier(10)->Range(10, 10000);

/// Keeps the medians instead of printing them.
class Medians final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      if (run.aggregate_name == "median") nanoseconds_[run.run_name.str()] = run.GetAdjustedCPUTime();
    }
  }
  double operator[](const std::string& name) const { return nanoseconds_.at(name); }

 private:
  std::map<std::string, double> nanoseconds_;
};

struct Kind {
  const char *description, *name;
  const CrontabLine& line;
};
const std::array kinds = {Kind{"daily", "daily", daily}, Kind{"weekly", "weekly", weekly},
                          Kind{"third Monday", "thirdMonday", thirdMonday}};

bool sameResults(const Calendar& calendar) {
  for (const auto& kind : kinds) {
    for (const auto reference : references()) {
      if (kind.line.nextRunDate(reference, calendar) != Walk(kind.line, reference).nextRun()) {
        std::cerr << "The walk gives another result for the " << kind.description << " line.\n";
        return false;
      }
    }
  }
  return true;
}

void print(const Medians& medians) {
  std::puts("| line         | runsAt ns | nextRunDate ns | walk ns | nextRunDate/walk |");
  std::puts("|:-------------|----------:|---------------:|--------:|-----------------:|");
  for (const auto& kind : kinds) {
    const std::string name = kind.name;
    const double next = medians["nextRunDate/" + name] - medians["update"];
    const double walk = medians["walk/" + name];
    std::printf("| %-12s | %9.0f | %14.0f | %7.0f | %16.2f |\n", kind.description, medians["runsAt/" + name], next,
                walk, next / walk);
  }
  std::puts("\n| lines | nextEventDate us | ns for a line |");
  std::puts("|------:|-----------------:|--------------:|");
  for (const int count : {10, 100, 1000, 10000}) {
    const double time = medians["nextEventDate/" + std::to_string(count)] - medians["update"];
    std::printf("| %5d | %16.1f | %13.0f |\n", count, time / 1000, time / count);
  }
}

}  // namespace
}  // namespace zt::bench

int main(int, char** arguments) {
  using namespace zt::bench;
  if (!sameResults(newYork())) return 1;
  // Interleaved at random, so that it matters little if the machine is slow for a while.
  std::array<std::string, 5> options{arguments[0], "--benchmark_enable_random_interleaving=true",
                                     "--benchmark_repetitions=25", "--benchmark_min_time=0.04",
                                     "--benchmark_report_aggregates_only=true"};
  std::array<char*, 5> pointers{};
  std::ranges::transform(options, pointers.begin(), [](auto& option) { return option.data(); });
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  print(medians);
}
