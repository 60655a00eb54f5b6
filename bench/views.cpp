// views ZTSCHEDULES: measures how long ztschedules takes to show a crontab, for each of its views. Must be run on a
// private machine (bench/run), whose crontab it replaces.

#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "crontab.h"
#include "measure.h"

namespace zt::bench {
namespace {

constexpr int rounds = 51;

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

void measure(const std::string& program) {
  std::puts("| lines | table | --count 1000 | --month | --json | --history |");
  std::puts("|------:|------:|-------------:|--------:|-------:|----------:|");
  for (const int lines : {10, 100, 1000}) {
    installCrontab(crontabOf(lines));
    std::printf("| %5d | %5.1f | %12.1f | %7.1f | %6.1f | %9.1f |\n", lines, medianOf({program}),
                medianOf({program, "--count", "1000"}), medianOf({program, "--month"}), medianOf({program, "--json"}),
                medianOf({program, "--history"}));
  }
}

}  // namespace
}  // namespace zt::bench

int main(int count, char** arguments) {
  try {
    if (count != 2) throw std::runtime_error("usage: views ZTSCHEDULES");
    zt::bench::measure(arguments[1]);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
