// agent ZTAGENT: measures what each verb of the agent costs. Must be run on a private machine (bench/run), whose
// crontab it replaces, with the service manager's stand-in at XDG_RUNTIME_DIR.

#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "crontab.h"
#include "measure.h"

namespace zt::bench {
namespace {

constexpr int rounds = 201;

struct Verb {
  const char* name;
  Command arguments;
  std::vector<double> wall{}, cpu{};
};

void measure(const std::string& agent) {
  std::string text;
  for (int i = 0; i < 20; ++i) text += crontabLine(i, std::to_string(i), "ZTUtil file:///copy\n");
  installCrontab(text);

  const std::string time = "3/5/2097 7:3:00";
  // In this order, as a run has it: there is an event to list and to cancel.
  std::vector<Verb> verbs = {{"wake", {time}}, {"sched", {}}, {"cancel", {time}}, {"arm", {}}};
  for (int round = 0; round < rounds; ++round) {
    for (auto& verb : verbs) {
      Command command = {agent, verb.name};
      command.insert(command.end(), verb.arguments.begin(), verb.arguments.end());
      const auto cost = costOf(command);
      verb.wall.push_back(cost.wall.count());
      verb.cpu.push_back(cost.cpu.count());
    }
  }
  std::puts("| verb   |   ms | CPU |");
  std::puts("|:-------|-----:|----:|");
  for (const auto& verb : verbs)
    std::printf("| %-6s | %4.1f | %3.1f |\n", verb.name, median(verb.wall), median(verb.cpu));
}

}  // namespace
}  // namespace zt::bench

int main(int count, char** arguments) {
  try {
    if (count != 2) throw std::runtime_error("usage: agent ZTAGENT");
    zt::bench::measure(arguments[1]);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
