#include "ztschedules/options.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace zt {
namespace {

constexpr auto* examples = R"(Examples:
  the next ten copies          ztschedules --count 10
  what five time fields mean   ztschedules --explain "30 9 15-21 * 1"
  schedule a folder's copy     (crontab -l; ztschedules --new ~/Photos --time 09:30 --days mon,fri) | crontab -
)";

/// Leaves out which options an option needs and excludes.
struct HelpFormatter : CLI::Formatter {
  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_name().empty() ? "" : " " + option->get_type_name();
  }
};

/// Has `app` fill what follows it, which has to outlive it.
void define(CLI::App& app, Options& options, NewSchedule& schedule) {
  const auto option = [&](const char* name, auto& value, const char* type, const char* description) {
    return app.add_option(name, value, description)->type_name(type);
  };
  auto* at = option("--at", options.at, "TIME",
                    "Start from TIME instead of now: seconds since 1970, or \"2027-03-14 01:00\", or a date");
  auto* count = option("--count", options.count, "N", "Show the next N runs of all schedules, up to 100000");
  count->check(CLI::Range(1, 100'000).description(""));
  auto* month = option("--month", options.month, "[YYYY-MM]", "Show the current month, or another one, as a calendar");
  month->expected(0, 1);
  auto* json = app.add_flag("--json", options.json, "Show the next run of each schedule as JSON");
  auto* next =
      app.add_flag("--next", options.next, "Print only the next run, in seconds since 1970; status 1 if there is none");
  auto* explain = option("--explain", options.explain, "LINE|FIELDS",
                         "Explain the line with that number, or five time fields in quotes");
  auto* check = app.add_flag("--check", options.check, "Show only problems, and exit with status 1 if there are any");
  auto* file = option("FILE", options.file, "", "Read this crontab instead of yours; - is standard input");
  auto* isNew = option("--new", schedule.copy, "URL|FOLDER", "Print a new line for the crontab; see below");

  const std::vector views = {count, month, json, next, explain};
  for (std::size_t i = 0; i < views.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) views[i]->excludes(views[j]);
  }
  check->excludes(next)->excludes(explain);
  for (auto* other : {at, count, json, next, explain, check, file}) isNew->excludes(other);
  app.set_version_flag("--version", "ztschedules " VERSION);

  constexpr auto* group = "For a new line";
  auto* time = option("--time", schedule.time, "HH:MM", "When the copy is made")->needs(isNew)->group(group);
  isNew->needs(time);
  option("--days", schedule.days, "DAYS", "On these days only, such as mon or mon,wed-fri")->needs(isNew)->group(group);
  option("--weeks", schedule.weeks, "WEEKS", "Only the 1st, 2nd, 3rd or last-two of these days in a month, as in 1,3")
      ->needs(isNew)
      ->group(group);
  option("--command", schedule.command, "COMMAND", "What stands before the URL; by default the application's ZTUtil")
      ->needs(isNew)
      ->group(group);
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(examples);
}

/// Does what CLI11 cannot: an argument after --month that cannot be a month is FILE, and --month with --new may be
/// meant as a part of the schedule.
void complete(Options& options) {
  const bool isFile =
      options.month && (options.month == "-" || options.month->find_first_not_of("0123456789-") != std::string::npos);
  if (isFile && !options.file) options.file = std::exchange(*options.month, {});
  if (options.month && options.newSchedule) {
    throw std::invalid_argument("a line is for every month: choose its days with --days and --weeks");
  }
}

}  // namespace

std::optional<Options> readOptions(int count, const char* const* arguments) {
  Options options;
  NewSchedule schedule;
  CLI::App app("Shows which copies your crontab will start, when, and which schedules can never run.", "ztschedules");
  define(app, options, schedule);
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& answer) {
    app.exit(answer);
    return std::nullopt;
  }
  if (app.count("--new") > 0) options.newSchedule = std::move(schedule);
  complete(options);
  return options;
}

}  // namespace zt
