// startup TOOL NAME=PROGRAM...: measures the time from the start of the tool to its first message, and the times that
// the programs take from start to end, also compared with the first of them, which is the empty one.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <numeric>
#include <random>
#include <stdexcept>

#include "measure.h"

namespace zt::bench {
namespace {

constexpr int rounds = 501;

struct Program {
  std::string name;
  Command command;
  std::vector<double> times;  // in milliseconds
};

/// The first of the programs is the empty one.
void measure(const Command& tool, std::vector<Program> programs) {
  std::vector<double> toolTimes;
  std::vector<std::size_t> order(programs.size());
  std::iota(order.begin(), order.end(), 0);
  std::mt19937 random;
  for (int round = 0; round < rounds; ++round) {
    toolTimes.push_back(timeToFirstMessage(tool).count());
    std::ranges::shuffle(order, random);
    for (const auto i : order) programs[i].times.push_back(costOf(programs[i].command).wall.count());
  }
  std::puts("| program                       |   ms | more than empty |");
  std::puts("|:------------------------------|-----:|----------------:|");
  std::printf("| the tool to its first message | %4.2f |                 |\n", median(toolTimes));
  for (const auto& program : programs) {
    std::vector<double> added(rounds);
    std::ranges::transform(program.times, programs.front().times, added.begin(), std::minus{});
    std::printf("| %-29s | %4.2f | %15.2f |\n", program.name.c_str(), median(program.times), median(added));
  }
}

}  // namespace
}  // namespace zt::bench

int main(int count, char** arguments) {
  using namespace zt::bench;
  try {
    if (count < 3) throw std::runtime_error("usage: startup TOOL NAME=PROGRAM...");
    std::vector<Program> programs;
    for (int i = 2; i < count; ++i) {
      const std::string argument = arguments[i];
      const auto equals = argument.find('=');
      programs.push_back({argument.substr(0, equals), {argument.substr(equals + 1)}, {}});
    }
    adoptOrphans();
    measure({arguments[1]}, std::move(programs));
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
