// views ZTSCHEDULES: how long each way to show a crontab takes. It is to be run on a private machine, whose crontab it
// replaces.

#include <array>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "measure.h"

namespace zt::bench {
namespace {

constexpr int rounds = 51;

/// A third of the lines daily, a third weekly, a third on one weekday of the month; every tenth never runs.
void writeCrontab(int lines) {
  std::ofstream file("/var/spool/cron/crontabs/root");
  for (int i = 0; i < lines; ++i) {
    const auto weekday = std::to_string(i % 7);
    const std::array days{std::string("*\t*\t*"), "*\t*\t" + weekday, "15-21\t*\t" + weekday};
    file << (i % 10 == 9 ? "*/5" : std::to_string(i * 7 % 60)) << '\t' << i % 24 << '\t' << days.at(i % 3)
         << "\t/Applications/Zantrove.app/Contents/Helpers/ZTUtil file:///Copies/Copy%20Plan%20" << i << "/\n";
  }
  if (!file.flush()) throw std::runtime_error("cannot write the crontab");
}

double medianOf(const Command& command) {
  std::vector<double> times(rounds);
  for (auto& time : times) time = costOf(command).wall.count();
  return median(std::move(times));
}

void measure(const std::string& program) {
  std::puts("| lines | table | --count 1000 | --month | --json |");
  std::puts("|------:|------:|-------------:|--------:|-------:|");
  for (const int lines : {10, 100, 1000}) {
    writeCrontab(lines);
    std::printf("| %5d | %5.1f | %12.1f | %7.1f | %6.1f |\n", lines, medianOf({program}),
                medianOf({program, "--count", "1000"}), medianOf({program, "--month"}), medianOf({program, "--json"}));
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
