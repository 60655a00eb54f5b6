// Runs the tool on simulated machines, on each for a year, and compares what it does with what the crontabs mean.

#include <unistd.h>

#include <array>
#include <charconv>
#include <csignal>
#include <exception>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>

#include "support/zone.h"
#include "tool.h"

namespace zt::simulation {
namespace {

constexpr auto* usage =
    R"(usage: simulate [--years N] [--seed S] [--without GROUP,...] [--calendar-timer]

Runs the tool on N simulated machines (default: 20), on each for a year. Their seeds are S (default: 1), S+1, and so on;
--years 1 --seed S repeats a single one. The exit status is 1 if a copy was missed, doubled or early, if ztschedules
--history would tell something else about one, or if there was another violation. docs/simulation.md describes the
machines, and which losses are not the tool's fault.

  --without GROUP,...  None of these faults happen: clock, zone, power, kills, people, failures, hangs. "all" leaves out
                       all of them, and "arm" has nothing armed before a machine sleeps.
  --calendar-timer     Start the tool at each full minute and, if one passes during a run, again as soon as that ends.
                       Copies are doubled then: this shows that the simulation notices, and why the tool has another
                       timer.
)";

std::string machineName;

/// A search that does not end and a tool that aborts are violations, too, and nothing else would tell the machine.
extern "C" void reportSignal(int signal) {
  const std::string_view what =
      signal == SIGALRM ? ": the year has not ended after 300 seconds\n" : ": the tool aborts\n";
  for (const std::string_view text : {std::string_view(machineName), what}) {
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
  }
  ::_exit(1);
}

void simulateYear(std::uint64_t seed, const Options& options, Figures& figures) {
  Random random(seed);
  const auto& timeZone = TimeZone::named(random.pick(zoneNames));
  machineName = "seed " + std::to_string(seed) + ", " + timeZone.name();
  ::alarm(300);
  Zone zone(timeZone.name());
  Judge judge(machineName, figures);
  MachineJournal journal(seed % 2 == 0);
  Machine machine(random, options, judge, journal, timeZone);
  try {
    while (machine.untilStart()) runTool(machine, judge, zone.calendar);
  } catch (const std::exception& error) {
    judge.otherViolation(error.what());
  }
  ++figures.machineYears;
}

void print(const Figures& f) {
  std::cout << f.machineYears << " machine-years, " << f.runs << " runs, " << f.due << " copies due: " << f.startedOnce
            << " started once (" << f.late << " of them late), " << f.missed() << " missed, " << f.doubled
            << " doubled, " << f.early << " early, " << f.other
            << " other violations.\nLost through no fault of the tool:\n";
  const auto line = [&](std::int64_t count, const char* what) {
    std::cout << std::setw(8) << count << std::setw(9) << std::fixed << std::setprecision(4)
              << 100.0 * static_cast<double>(count) / static_cast<double>(f.due) << " %  " << what << '\n';
  };
  std::int64_t lost = 0;
  for (std::size_t cause = 1; cause < causeNames.size(); ++cause) {
    line(f.lost.at(cause), causeNames.at(cause));
    lost += f.lost.at(cause);
  }
  line(lost, "together");
  std::cout << "Started again in a minute that another run had served:\n";
  line(f.askedFor, "asked for by a person, or at the start of the service manager");
  line(f.shownAgain, "shown again by a clock that was set back");
  std::cout << "History: " << f.toldRight << " told right, " << f.toldWrong << " wrong; " << f.hidden
            << " hidden by a clock that was wrong. Of those lost, so many had a reason like these causes:\n";
  for (std::size_t cause = 1; cause < causeNames.size(); ++cause) {
    const auto& [number, likeJudge] = f.reasons.at(cause);
    std::cout << std::setw(8) << likeJudge << " of" << std::setw(7) << number << "  " << causeNames.at(cause) << '\n';
  }
  std::cout << std::flush;
}

/// Gives whether all names are known.
bool readGroups(const char* text, Options& options) {
  if (text == nullptr) return false;
  std::istringstream names(text);
  for (std::string name; std::getline(names, name, ',');) {
    const bool isAll = name == "all";
    if (!isAll && name != "arm" && !Machine::isGroup(name)) return false;
    for (const auto* group : {"clock", "zone", "power", "kills", "people", "failures", "hangs"}) {
      if (isAll) options.without.insert(group);
    }
    options.without.insert(name);
  }
  return !options.without.empty();
}

bool read(const char* text, std::uint64_t& number) {
  const std::string_view digits = text == nullptr ? "" : text;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc{} && end == digits.data() + digits.size();
}

int main(char** arguments) {
  std::uint64_t years = 20;
  std::uint64_t seed = 1;
  Options options;
  for (auto** argument = arguments + 1; *argument != nullptr; ++argument) {
    const std::string_view name = *argument;
    if (name == "--help") {
      std::cout << usage;
      return 0;
    }
    if (name == "--calendar-timer") {
      options.calendarTimer = true;
    } else if (!(name == "--without" && readGroups(*++argument, options)) &&
               !(name == "--years" && read(*++argument, years) && years > 0) &&
               !(name == "--seed" && read(*++argument, seed))) {
      std::cerr << "simulate: wrong option or value: " << name << "\n\n" << usage;
      return 2;
    }
  }
  for (const int signal : {SIGALRM, SIGABRT}) std::signal(signal, reportSignal);
  Figures figures;
  for (std::uint64_t year = 0; year < years; ++year) simulateYear(seed + year, options, figures);
  print(figures);
  return figures.violations() == 0 ? 0 : 1;
}

}  // namespace
}  // namespace zt::simulation

int main(int, char** arguments) {
  return zt::simulation::main(arguments);
}
