#include "ztschedules/options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <utility>

namespace zt {
namespace {

/// Has `app` fill `options`, which have to outlive it.
void define(CLI::App& app, Options& options) {
  app.add_option("--at", options.at, "Start from TIME instead of now: seconds since 1970, or \"2027-03-14 01:00\"")
      ->type_name("TIME");
  const std::array views = {
      app.add_option("--count", options.count, "Show the next N runs of all schedules, up to 100000")
          ->check(CLI::Range(1, 100'000).description(""))
          ->type_name("N"),
      app.add_option("--month", options.month, "Show the current month, or another one, as a calendar")
          ->expected(0, 1)
          ->type_name("[YYYY-MM]"),
      app.add_flag("--json", options.json, "Show the next run of each schedule as JSON"),
      app.add_flag("--next", options.next,
                   "Print only the time of the next run, in seconds since 1970; status 1 if none"),
  };
  for (std::size_t i = 0; i < views.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) views.at(i)->excludes(views.at(j));
  }
  app.add_flag("--check", options.check, "Show only problems, and exit with status 1 if there are any");
  app.add_option("FILE", options.file, "Read this crontab instead of yours; - is standard input")->type_name("");
  app.set_version_flag("--version", "ztschedules " VERSION);
}

/// Does what CLI11 cannot: an argument after --month that cannot be a month is FILE.
void complete(Options& options) {
  const bool isFile =
      options.month && (options.month == "-" || options.month->find_first_not_of("0123456789-") != std::string::npos);
  if (isFile && !options.file) options.file = std::exchange(*options.month, {});
}

}  // namespace

std::optional<Options> readOptions(int count, const char* const* arguments) {
  Options options;
  CLI::App app("Shows which copies your crontab will start, when, and which schedules can never run.", "ztschedules");
  define(app, options);
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& answer) {
    app.exit(answer);
    return std::nullopt;
  }
  complete(options);
  return options;
}

}  // namespace zt
