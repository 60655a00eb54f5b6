#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "discovery/crontab_reader.h"
#include "platform/linux/file_contents.h"
#include "platform/linux/process_setup.h"
#include "platform/linux/system_calendar.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_file_manager.h"
#include "platform/linux/terminal.h"
#include "platform/task.h"
#include "ztschedules/entry.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/time_text.h"
#include "ztschedules/views.h"

namespace zt {
namespace {

constexpr int foundProblems = 1;
constexpr int failed = 2;

struct Options {
  std::optional<std::string> at;
  std::optional<std::size_t> count;
  std::optional<std::string> month;  // empty for the current one
  bool json = false;
  bool check = false;
  std::optional<std::string> file;
};

void complain(const std::string& text) {
  std::cerr << "ztschedules: " << printable(text) << '\n';
}

/// Has `app` fill `options`, which have to outlive it.
void describe(CLI::App& app, Options& options) {
  app.add_option("--at", options.at, "Look from this time on: seconds since 1970, or \"2027-03-14 01:00\"")
      ->type_name("TIME");
  app.add_option("--count", options.count, "Show the next N runs of all schedules, 100000 at most")
      ->check(CLI::Range(1, 100'000).description(""))
      ->type_name("N");
  app.add_option("--month", options.month, "Show this month, or the current one, as a calendar")
      ->expected(0, 1)
      ->type_name("[YYYY-MM]");
  app.add_flag("--json", options.json, "Show the next run of each schedule as JSON");
  app.add_flag("--check", options.check, "End with status 1 if there is a problem; show problems only");
  app.add_option("FILE", options.file, "A crontab to read instead of yours; - is the standard input")->type_name("");
  app.set_version_flag("--version", "ztschedules " VERSION);
}

/// What CLI11 cannot know of the options.
void complete(Options& options) {
  // A word behind --month that is no month is the FILE.
  const bool isFile =
      options.month && (options.month == "-" || options.month->find_first_not_of("0123456789-") != std::string::npos);
  if (isFile && !options.file) options.file = std::exchange(*options.month, {});
  const std::array views{options.count.has_value(), options.month.has_value(), options.json};
  if (std::ranges::count(views, true) > 1) {
    throw std::invalid_argument("--count, --month and --json exclude each other");
  }
}

/// The text of the user's crontab; empty where there is none, which is told.
std::string usersCrontab() {
  if (!SystemFileManager().isExecutableFile(crontabProgram)) {
    throw std::runtime_error(std::string("cannot run ") + crontabProgram);
  }
  Task task(crontabProgram, std::vector<std::string>{crontabArgument});
  const auto output = std::make_shared<Pipe>();
  task.setStandardOutput(output);
  task.setStandardError(output);
  task.launch();
  auto text = fileContents(output->fileHandleForReading().fileDescriptor(), crontabProgram);
  task.waitUntilExit();
  if (task.terminationStatus() == 0) return text;
  const auto message = text.substr(0, text.find('\n'));
  if (!message.starts_with("no crontab for ")) {
    throw std::runtime_error("crontab ended with status " + std::to_string(task.terminationStatus()) + ": " + message);
  }
  complain(message);
  return {};
}

std::string crontabText(const std::optional<std::string>& file) {
  if (!file) return usersCrontab();
  return *file == "-" ? fileContents(STDIN_FILENO, "the standard input") : fileContents(*file);
}

std::chrono::year_month monthOf(Instant instant, const Calendar& calendar) {
  const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(calendar.localTime(instant))};
  return {date.year(), date.month()};
}

int show(const Options& options) {
  const SystemCalendar calendar;
  const Instant now = options.at ? readTime(*options.at, calendar) : SystemClock().now();
  const bool isOtherMonth = options.month && !options.month->empty();
  const auto month = isOtherMonth ? readMonth(*options.month) : monthOf(now, calendar);
  const auto terminal = Terminal::ofStandardOutput();

  const auto entries = readEntries(crontabText(options.file), now, calendar);
  std::string view;
  if (options.json) {
    view = jsonView(entries, calendar);
  } else if (options.month) {
    view = monthView(entries, month, calendar, terminal.hasColor);
  } else if (entries.empty() && !options.check) {
    view = "No schedules: no line has " + std::string(marker) + " in it.\n";
  } else if (options.count) {
    view = runsView(entries, *options.count, now, calendar, terminal.columns);
  } else if (!options.check) {
    view = nextRunsView(entries, now, calendar, terminal.columns);
  }
  const auto problems = options.json ? std::string() : problemsView(entries, terminal.columns);
  std::cout << view << (view.empty() || problems.empty() ? "" : "\n") << problems;

  const bool hasProblems = std::ranges::any_of(entries, [](const Entry& entry) { return entry.problem.has_value(); });
  return options.check && hasProblems ? foundProblems : 0;
}

int run(int count, const char* const* arguments) {
  Options options;
  CLI::App app("Shows what your crontab has copied, and when, and which of its schedules never run.", "ztschedules");
  describe(app, options);
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  }
  complete(options);
  return show(options);
}

}  // namespace
}  // namespace zt

int main(int count, char** arguments) {
  zt::setUpProcess();
  ::signal(SIGPIPE, SIG_DFL);  // whoever reads the output may have seen enough
  try {
    const int status = zt::run(count, arguments);
    if (!std::cout.flush()) throw std::system_error(errno, std::generic_category(), "cannot write the output");
    return status;
  } catch (const std::exception& error) {
    zt::complain(error.what());
    return zt::failed;
  }
}
