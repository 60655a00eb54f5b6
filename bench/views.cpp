// views ZTSCHEDULES [OPTION]: measures how long ztschedules takes to show a crontab, for each of its views, and for the
// one with that option. Must be run on a private machine (bench/run), whose crontab it replaces.

#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "crontab.h"
#include "measure.h"

namespace zt::bench {
namespace {

constexpr int rounds = 21;

/// Every tenth line never runs.
std::string crontabOf(int lines) {
  const std::string command = "/Applications/Zantrove.app/Contents/Helpers/ZTUtil file:///Copies/Copy%20Plan%20";
  std::string text;
  for (int i = 0; i < lines; ++i) {
    const auto hour = i % 10 == 9 ? "*/5" : std::to_string(i % 24);
    text += crontabLine(i, hour, command + std::to_string(i) + "/\n");
  }
  return text;
}

double medianOf(const Command& command) {
  std::vector<double> times(rounds);
  for (auto& time : times) time = costOf(command).wall.count();
  return median(std::move(times));
}

/// `options` are of the last view, if they are not empty.
void measure(const std::string& program, const std::string& options) {
  std::vector<std::pair<std::string, Command>> views = {{"table", {program}},
                                                        {"--count 1000", {program, "--count", "1000"}},
                                                        {"--month", {program, "--month"}},
                                                        {"--json", {program, "--json"}}};
  if (!options.empty()) views.push_back({options, {program, options}});
  std::string rule = "|------:|";
  std::printf("| lines |");
  for (const auto& [name, command] : views) {
    std::printf(" %s |", name.c_str());
    rule += std::string(name.size() + 1, '-') + ":|";
  }
  std::printf("\n%s\n", rule.c_str());
  for (const int lines : {10, 100, 1000}) {
    installCrontab(crontabOf(lines));
    std::printf("| %5d |", lines);
    for (const auto& [name, command] : views) std::printf(" %*.1f |", static_cast<int>(name.size()), medianOf(command));
    std::puts("");
  }
}

}  // namespace
}  // namespace zt::bench

int main(int count, char** arguments) {
  try {
    if (count != 2 && count != 3) throw std::runtime_error("usage: views ZTSCHEDULES [OPTION]");
    zt::bench::measure(arguments[1], count == 3 ? arguments[2] : "");
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
