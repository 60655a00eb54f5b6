// schedules: what it costs to know whether a line fires and when it fires next, against a walk through the calendar by
// minutes, hours and days, and how it grows with the number of lines.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <map>
#include <random>

#include "platform/linux/system_calendar.h"
#include "schedules/matching.h"
#include "schedules/next_event.h"

namespace zt::bench {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

struct Kind {
  const char* name;
  CrontabLine line;
};

const std::array kinds = {Kind{"daily", CrontabLine("30\t9\t*\t*\t*\tZTUtil")},
                          Kind{"weekly", CrontabLine("45\t6\t*\t*\t5\tZTUtil")},
                          Kind{"third Monday", CrontabLine("15\t17\t15-21\t*\t1\tZTUtil")}};

/// Spread over 2027, in which the zone changes its offset twice, and out of order: no answer is near the one before.
const std::vector<Instant>& references() {
  static const auto all = [] {
    std::vector<Instant> instants;
    constexpr Instant begin = std::chrono::sys_days{std::chrono::year{2027} / 1 / 1};
    for (int i = 0; i < 500; ++i) instants.push_back(begin + i * seconds{365 * 24 * 3600 / 500});
    std::ranges::shuffle(instants, std::mt19937{});
    return instants;
  }();
  return all;
}

class Walk {
 public:
  Walk(const CrontabLine& line, Instant reference)
      : line_(line), time_(std::chrono::floor<minutes>(reference).time_since_epoch().count() * 60) {
    look();
  }

  /// The next run, by the minute, the hour and the day, with one localtime_r for every step.
  Instant nextRun() {
    const auto minute = readInteger(line_.part(CrontabLine::minute));
    const auto hour = readInteger(line_.part(CrontabLine::hour));
    while (local_.tm_min != minute) step(minutes{1});
    while (local_.tm_hour != hour) step(hours{1});
    while (local_.tm_min != minute || local_.tm_hour != hour || !acceptsDay(line_, day())) {
      const long offset = local_.tm_gmtoff;
      step(hours{24});
      // Over a change of the offset the day is not of 24 hours.
      if (local_.tm_gmtoff != offset) step(seconds{offset - local_.tm_gmtoff});
    }
    return Instant{seconds{time_}};
  }

 private:
  void step(seconds duration) {
    time_ += duration.count();
    look();
  }
  void look() { ::localtime_r(&time_, &local_); }
  std::chrono::local_days day() const {
    return std::chrono::local_days{std::chrono::year{local_.tm_year + 1900} / (local_.tm_mon + 1) / local_.tm_mday};
  }

  const CrontabLine& line_;
  time_t time_;
  tm local_{};
};

/// Repeats the operation for one reference after the other.
template <class Operation>
void forReferences(benchmark::State& state, Operation operation) {
  auto reference = references().begin();
  for (auto _ : state) {
    benchmark::DoNotOptimize(operation(*reference));
    if (++reference == references().end()) reference = references().begin();
  }
}

std::vector<CrontabLine> manyLines(int count) {
  std::vector<CrontabLine> lines;
  for (int i = 0; i < count; ++i) {
    const auto start = std::to_string(i * 7 % 60) + "\t" + std::to_string(i % 24);
    const auto weekday = std::to_string(i % 7);
    const std::array days{std::string("\t*\t*\t*"), "\t*\t*\t" + weekday, "\t15-21\t*\t" + weekday};
    lines.emplace_back(start + days.at(i % 3) + "\tZTUtil");
  }
  return lines;
}

/// Keeps the medians.
class Medians final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      if (run.aggregate_name == "median") nanoseconds_[run.run_name.function_name] = run.GetAdjustedCPUTime();
    }
  }
  double operator[](const std::string& name) const { return nanoseconds_.at(name); }

 private:
  std::map<std::string, double> nanoseconds_;
};

constexpr std::array lineCounts = {10, 100, 1000, 10000};

bool sameAnswers(const Calendar& calendar) {
  for (const auto& [name, line] : kinds) {
    for (const auto reference : references()) {
      if (line.nextRunDate(reference, calendar) != Walk(line, reference).nextRun()) {
        std::cerr << "The walk gives another answer for the " << name << " line.\n";
        return false;
      }
    }
  }
  return true;
}

int measure() {
  ::setenv("TZ", "America/New_York", 1);
  const SystemCalendar calendar;
  if (!sameAnswers(calendar)) return 1;

  std::map<int, std::vector<CrontabLine>> lines;
  for (const int count : lineCounts) lines[count] = manyLines(count);
  for (const auto& kind : kinds) {
    const std::string name = kind.name;
    const auto& line = kind.line;
    benchmark::RegisterBenchmark((name + " runsAt").c_str(), [&](benchmark::State& state) {
      forReferences(state, [&](Instant reference) { return runsAt(line, reference, calendar); });
    });
    benchmark::RegisterBenchmark((name + " nextRunDate").c_str(), [&](benchmark::State& state) {
      forReferences(state, [&](Instant reference) { return line.nextRunDate(reference, calendar); });
    });
    benchmark::RegisterBenchmark((name + " walk").c_str(), [&](benchmark::State& state) {
      forReferences(state, [&](Instant reference) { return Walk(line, reference).nextRun(); });
    });
  }
  for (const int count : lineCounts) {
    const auto& some = lines[count];
    benchmark::RegisterBenchmark(std::to_string(count).c_str(), [&](benchmark::State& state) {
      forReferences(state, [&](Instant reference) { return nextEventDate(some, reference, calendar); });
    });
  }
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);

  std::puts("| line | runsAt ns | nextRunDate ns | walk ns | nextRunDate/walk |");
  std::puts("|:-----|----------:|---------------:|--------:|-----------------:|");
  for (const auto& [kind, line] : kinds) {
    const std::string name = kind;
    const double next = medians[name + " nextRunDate"];
    const double walk = medians[name + " walk"];
    std::printf("| %-12s | %4.0f | %4.0f | %4.0f | %.2f |\n", kind, medians[name + " runsAt"], next, walk, next / walk);
  }
  std::puts("\n| lines | nextEventDate us | ns for a line |");
  std::puts("|------:|-----------------:|--------------:|");
  for (const int count : lineCounts) {
    const double time = medians[std::to_string(count)];
    std::printf("| %5d | %7.1f | %5.0f |\n", count, time / 1000, time / count);
  }
  return 0;
}

}  // namespace
}  // namespace zt::bench

int main(int, char** arguments) {
  // Interleaved at random, so that a noisy machine does not decide.
  std::array<std::string, 5> options{arguments[0], "--benchmark_enable_random_interleaving=true",
                                     "--benchmark_repetitions=9", "--benchmark_min_time=0.1",
                                     "--benchmark_report_aggregates_only=true"};
  std::array<char*, 5> pointers{};
  std::ranges::transform(options, pointers.begin(), [](auto& option) { return option.data(); });
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  return zt::bench::measure();
}
