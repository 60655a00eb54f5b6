// pass PROGRAMS SCRIPT BESIDE LINES:DUE...: compares the cost of one pass of the tool with that of the floor
// (floor.cpp) and of the script, for crontabs with LINES schedules of which DUE are due. Must be run on a private
// machine (bench/run) on which stand_in is the application's agent and controller. The wait at the end of a run is not
// included. BESIDE says what else runs on that machine.

#include <poll.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>

#include "crontab.h"
#include "measure.h"

namespace zt::bench {
namespace {

const std::string home = ::getenv("HOME");
const std::string contents = home + "/Applications/Zantrove.app/Contents";
const std::string record = home + "/record";

/// The local time in some hours, in a format of strftime(3).
std::string clockText(const char* format, time_t hours = 0) {
  const time_t time = ::time(nullptr) + hours * 3600;
  tm fields{};
  ::localtime_r(&time, &fields);
  std::array<char, 64> text{};
  ::strftime(text.data(), text.size(), format, &fields);
  return text.data();
}

/// Waits for the next minute if this one is nearly over.
void awaitTimeInMinute() {
  while (clockText("%S") > "55") ::poll(nullptr, 0, 100);  // sleeps end at once in this process
}

struct Scenario {
  int lines, due;
};

constexpr int rounds = 101;
constexpr int hoursAhead = 3;

std::string urlOf(int line) {
  return "file://" + home + "/Documents/Copy%20Plan%20" + std::to_string(line) + "/";
}

/// The first lines are due now. The others fire some hours later at the earliest. The first of them is daily, and the
/// next to fire.
std::string crontabOf(const Scenario& scenario) {
  std::string text = "# The application's schedules\n";
  const auto command = [](int line) { return contents + "/Helpers/ZTUtil " + urlOf(line) + "\n"; };
  for (int i = 0; i < scenario.due; ++i) text += clockText("%-M\t%-H\t*\t*\t%w\t") + command(i);
  for (int i = 0; i < scenario.lines - scenario.due; ++i) {
    text += crontabLine(i, clockText("%-H", hoursAhead + i % 18), command(scenario.due + i));
  }
  return text;
}

void append(Command& command, const Command& words) {
  command.insert(command.end(), words.begin(), words.end());
}

/// The programs that a pass starts, as arguments of the floor.
Command childrenOf(const Scenario& scenario, const std::string& wakeTime) {
  Command words = {"/usr/bin/crontab", "-l", ";"};
  for (int i = 0; i < scenario.due; ++i) append(words, {"/bin/bash", "-c", "echo -n " + urlOf(i), ";"});
  const auto controller = contents + "/Helpers/ztautomatedcopycontroller";
  for (int i = 0; i < scenario.due; ++i) append(words, {controller, urlOf(i), "&"});
  const std::string agent = contents + "/MacOS/ZTAgent";
  append(words, {agent, "sched", ";", agent, "cancel", "03/14/2027 07:03:00", ";"});
  append(words, {agent, "wake", wakeTime, ";"});
  return words;
}

/// The calls of the application's programs by a command, sorted.
std::vector<std::string> doneBy(const Command& command) {
  ::remove(record.c_str());
  ::setenv("RECORD", record.c_str(), 1);
  costOf(command);
  ::unsetenv("RECORD");
  std::ifstream file(record);
  std::vector<std::string> done;
  for (std::string line; std::getline(file, line);) done.push_back(line);
  std::ranges::sort(done);
  return done;
}

struct Costs {
  std::vector<double> wall, cpu;

  void add(const Cost& cost) {
    wall.push_back(cost.wall.count());
    cpu.push_back(cost.cpu.count());
  }
};

/// The median of the ratios of each round, so that it matters little if the machine is slow for a while.
double ratio(const std::vector<double>& of, const std::vector<double>& to) {
  std::vector<double> ratios(of.size());
  std::ranges::transform(of, to, ratios.begin(), std::divides{});
  return median(ratios);
}

struct Programs {
  Command tool, floor, script, empty;
};

void measure(const Scenario& scenario, const Programs& programs, const std::string& beside) {
  std::array commands{programs.tool, programs.floor, programs.script};
  std::array<Costs, commands.size()> costs;
  std::array<std::size_t, commands.size()> order{0, 1, 2};
  std::mt19937 random;
  std::string minute;
  for (int round = 0; round < rounds; ++round) {
    awaitTimeInMinute();
    if (minute != clockText("%M")) {
      minute = clockText("%M");
      installCrontab(crontabOf(scenario));
      const auto done = doneBy(programs.tool);
      if (done.size() != static_cast<std::size_t>(scenario.due) + 3) {
        throw std::runtime_error("the tool called programs of the application " + std::to_string(done.size()) +
                                 " times");
      }
      const auto& last = done.back();  // the call that sets the wake event, by the order of their names
      commands[1] = programs.floor;
      append(commands[1], childrenOf(scenario, last.substr(last.find("wake ") + 5)));
      for (const auto& command : commands) {
        if (doneBy(command) != done)
          throw std::runtime_error(command[0] + " does not make the calls that the tool makes");
      }
    }
    // In random order, as each finds in the processor's caches what the one before it left there.
    std::ranges::shuffle(order, random);
    for (const auto i : order) costs.at(i).add(costOf(commands.at(i)));
  }
  awaitTimeInMinute();
  const auto& [tool, floor, script] = costs;
  const double memory = static_cast<double>(peakMemory(programs.tool) - peakMemory(programs.empty)) / 1024;
  std::printf("| %5d | %3d | %-13s | %4.1f | %5.1f | %6.1f | %10.2f | %11.2f | %9.1f | %5.1f | %6.1f | %19.1f |\n",
              scenario.lines, scenario.due, beside.c_str(), median(tool.wall), median(floor.wall), median(script.wall),
              ratio(tool.wall, floor.wall), ratio(script.wall, tool.wall), median(tool.cpu), median(floor.cpu),
              median(script.cpu), memory);
  std::fflush(stdout);
}

}  // namespace
}  // namespace zt::bench

int main(int count, char** arguments) {
  using namespace zt::bench;
  try {
    if (count < 4) throw std::runtime_error("usage: pass PROGRAMS SCRIPT BESIDE LINES:DUE...");
    const std::string folder = arguments[1];
    const Programs programs{
        {folder + "/ztbackupbytime"}, {folder + "/bench/bench_floor"}, {arguments[2]}, {folder + "/bench/bench_empty"}};
    ::setenv("TZ", "America/New_York", 1);
    adoptOrphans();
    endSleepsAtOnce();
    for (int i = 4; i < count; ++i) {
      Scenario scenario{};
      char colon{};
      std::istringstream(arguments[i]) >> scenario.lines >> colon >> scenario.due;
      measure(scenario, programs, arguments[3]);
    }
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
