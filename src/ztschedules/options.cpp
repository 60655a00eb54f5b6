#include "ztschedules/options.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace zt {
namespace {

constexpr auto* examples = R"(Examples:
  ztschedules --count 10
  ztschedules --explain "30 9 15-21 * 1"
  (crontab -l; ztschedules --new ~/Photos --time 09:30) | crontab -
)";

constexpr auto* tooManyWords =
    "too many words: put a name with blanks, or five time fields, in quotes, and write lists as in mon,fri";

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
                    "Start from then instead of now: a date, \"2027-03-14 01:00\", or seconds since 1970");
  auto* count = option("--count", options.count, "N", "Show the next N runs of all schedules, up to 100000");
  count->check(CLI::Range(1, 100'000).description(""));
  auto* month = option("--month", options.month, "[YYYY-MM]", "Show a month as a calendar; default: the current one");
  month->expected(0, 1);
  auto* json =
      app.add_flag("--json", options.json, "Show the next run of each schedule, or --history, or --doctor, as JSON");
  auto* next =
      app.add_flag("--next", options.next, "Print the next run in seconds since 1970; status 1 if there is none");
  auto* explain =
      option("--explain", options.explain, "LINE|FIELDS", "Explain the line with that number, or five time fields");
  auto* history = app.add_flag("--history", options.history, "Show what became of the copies of the last seven days");
  auto* check = app.add_flag("--check", options.check, "Show only what is wrong; status 1 if there are problems");
  auto* doctor =
      app.add_flag("--doctor", options.doctor, "Look at all that a copy needs; status 1 if there is a problem");
  auto* file = option("FILE", options.file, "", "Read this crontab instead of yours; - is standard input");
  auto* isNew = option("--new", schedule.copy, "URL|FOLDER", "Print a new line for the crontab, and change nothing");
  isNew->check([](const std::string& text) { return text.starts_with("--") ? "a URL or a folder is missing" : ""; });

  const std::vector views = {count, month, json, next, explain};
  for (std::size_t i = 0; i < views.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) views[i]->excludes(views[j]);
  }
  check->excludes(next)->excludes(explain);
  for (auto* other : {at, count, month, next, explain}) history->excludes(other);
  for (auto* other : {at, count, json, next, explain, check, history}) isNew->excludes(other);
  for (auto* other : {at, count, month, next, explain, check, history, isNew, file}) doctor->excludes(other);
  app.set_version_flag("--version", "ztschedules " VERSION);

  const auto newOption = [&](const char* name, auto& value, const char* type, const char* description) {
    return option(name, value, type, description)->needs(isNew)->group("For a new line");
  };
  auto* time = newOption("--time", schedule.time, "HH:MM", "When the copy is made");
  isNew->needs(time);
  auto* days = newOption("--days", schedule.days, "DAYS", "On these days only, such as mon or mon,wed-fri");
  auto* weeks = newOption("--weeks", schedule.weeks, "WEEKS", "Only these weeks of each month: 1, 2, 3, last-two");
  for (auto* list : {time, days, weeks}) list->join(',');  // two times get the same error in both forms
  newOption("--command", schedule.command, "COMMAND", "What stands before the URL; default: the application's ZTUtil");

  const auto historyOption = [&](CLI::Option* added) { added->needs(history)->group("For the history"); };
  historyOption(option("--since", options.since, "TIME", "Begin then; default: seven days before its end"));
  historyOption(option("--until", options.until, "TIME", "End then; default: now"));
  historyOption(app.add_flag("--all", options.all, "Show each run, not only problems and the last ones"));
  app.formatter(std::make_shared<HelpFormatter>());
  app.footer(examples);
}

/// Does what CLI11 cannot: an argument after --month that cannot be a month is FILE, and what a new line cannot have
/// gets an error that says why.
void complete(Options& options) {
  const bool isFile =
      options.month && (options.month == "-" || options.month->find_first_not_of("0123456789-") != std::string::npos);
  if (isFile && !options.file) options.file = std::exchange(*options.month, {});
  if (!options.newSchedule) return;
  if (options.month) throw std::invalid_argument("a line is for every month: choose its days with --days and --weeks");
  if (options.file) throw std::invalid_argument(tooManyWords);
}

}  // namespace

std::optional<Options> readOptions(int count, const char* const* arguments) {
  Options options;
  NewSchedule schedule;
  CLI::App app(
      "Shows which copies your crontab will start, what became of the last ones, and which schedules can never run.",
      "ztschedules");
  define(app, options, schedule);
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& answer) {
    app.exit(answer);
    return std::nullopt;
  } catch (const CLI::ExtrasError&) {
    if (app.count("--new") + app.count("--explain") > 0) throw std::invalid_argument(tooManyWords);
    throw;
  }
  if (app.count("--new") > 0) options.newSchedule = std::move(schedule);
  complete(options);
  return options;
}

}  // namespace zt
