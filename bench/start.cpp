// start TOOL EMPTY NAME=PROGRAM...: how long the tool takes to its first message, and an empty program to its end; and
// how much longer programs that differ from the empty one by a library.

#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "measure.h"

namespace zt::bench {
namespace {

constexpr int rounds = 501;

struct Program {
  std::string name;
  Command command;
  std::vector<double> times, added;  // in milliseconds
};

void measure(const std::string& tool, const std::string& empty, std::vector<Program> programs) {
  std::vector<double> toolTimes;
  std::vector<double> emptyTimes;
  for (int round = 0; round < rounds; ++round) {
    toolTimes.push_back(timeToFirstMessage({tool}).count());
    emptyTimes.push_back(costOf({empty}).wall.count());
    for (auto& program : programs) {
      program.times.push_back(costOf(program.command).wall.count());
      program.added.push_back(program.times.back() - emptyTimes.back());
    }
  }
  std::puts("| program                       |   ms | more than empty |");
  std::puts("|:------------------------------|-----:|----------------:|");
  std::printf("| the tool to its first message | %4.2f |                 |\n", median(toolTimes));
  std::printf("| empty                         | %4.2f |                 |\n", median(emptyTimes));
  for (const auto& program : programs) {
    const auto name = "with " + program.name;
    std::printf("| %-29s | %4.2f | %15.2f |\n", name.c_str(), median(program.times), median(program.added));
  }
}

}  // namespace
}  // namespace zt::bench

int main(int count, char** arguments) {
  using namespace zt::bench;
  try {
    if (count < 3) throw std::runtime_error("usage: start TOOL EMPTY NAME=PROGRAM...");
    std::vector<Program> programs;
    for (int i = 3; i < count; ++i) {
      const std::string argument = arguments[i];
      const auto equals = argument.find('=');
      programs.push_back({argument.substr(0, equals), {argument.substr(equals + 1)}, {}, {}});
    }
    measure(arguments[1], arguments[2], std::move(programs));
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
