#include "ztschedules/viewer.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "discovery/crontab_reader.h"
#include "platform/trust.h"
#include "util/time_text.h"
#include "ztschedules/crontab_text.h"
#include "ztschedules/doctor.h"
#include "ztschedules/explanation.h"
#include "ztschedules/history.h"
#include "ztschedules/new_line.h"
#include "ztschedules/options.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/views.h"

namespace zt {
namespace {

constexpr int success = 0;
constexpr int foundProblems = 1;
constexpr int foundNoRun = 1;
constexpr int failure = 2;

constexpr auto* joinGroup =
    "Join the group that may read all of it, and log in again: sudo usermod -aG systemd-journal $USER";

/// The value that a text from the command line names; `read` throws the rest of a message that begins with the text.
auto readArgument(const std::string& text, auto read) {
  try {
    return read(text);
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(quote(text) + " " + error.what());
  }
}

/// The month to show, if one is asked for.
std::optional<std::chrono::year_month> monthOf(const Options& options, Instant now, const Calendar& calendar) {
  if (!options.month) return std::nullopt;
  if (!options.month->empty()) return readArgument(*options.month, util::readMonth);
  const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(calendar.localTime(now))};
  return date.year() / date.month();
}

/// What is printed, and the exit status.
struct Answer {
  std::string text;
  int status = success;
};

/// The application's own program for its lines, if that can be executed, and nobody else can have put it there.
std::optional<std::filesystem::path> utility(const ViewerServices& services) {
  const auto application = services.applications.find(platform::applicationIdentifier, [](const auto&) {});
  if (!application) return std::nullopt;
  const auto program = *application / platform::utilityInBundle;
  // cron's daemon would run it in the name of this user.
  const bool isUsable = services.fileManager.isExecutableFile(program) && !platform::distrust(program);
  return isUsable ? std::optional(program) : std::nullopt;
}

Answer answerNew(const NewSchedule& schedule, const ViewerServices& services) {
  const auto [line, warnings] = newLine(schedule, schedule.command ? std::nullopt : utility(services));
  for (const auto& warning : warnings) printMessage("warning: " + warning);
  return {line + '\n'};
}

/// What the journal cannot tell from `since` on, and what to do about it. Its first entry of the tool is of `begin`.
std::vector<std::string> journalNotes(Instant begin, Instant since, const ViewerServices& services) {
  const auto [hasSystem, isPersistent] = services.journal.scope();
  std::vector<std::string> notes;
  if (begin > since) {
    notes.push_back("The journal has entries of ztbackupbytime from " + util::timeText(begin, services.calendar) +
                    " on. What was due before that is not known.");
  }
  if (!hasSystem) {
    notes.push_back("You may not read the system's journal, which tells sleep from other reasons. " +
                    std::string(joinGroup));
  }
  if (!isPersistent) {
    notes.emplace_back(
        "The journal is lost when the machine is switched off. To keep it: sudo mkdir -p /var/log/journal && sudo "
        "journalctl --flush");
  }
  return notes;
}

Answer answerHistory(const Options& options, const ViewerServices& services) {
  const auto& calendar = services.calendar;
  const auto& journal = services.journal;
  const auto readTime = [&](const std::string& text) { return util::readTime(text, services.calendar); };
  const Instant now = services.clock.now();
  const Instant until = options.until ? readArgument(*options.until, readTime) : now;
  const Instant since = options.since ? readArgument(*options.since, readTime) : until - std::chrono::days{7};
  if (since > until) throw std::invalid_argument("the history would end before it begins: see --since and --until");
  const auto entries = readScheduleEntries(crontabText(options.file, services.fileManager), now, calendar);
  const auto begin = historyBegin(journal);
  if (!begin) {
    throw std::runtime_error("the journal has no entry of ztbackupbytime that you may read. " +
                             std::string(journal.scope().hasSystem ? "Has it ever run? See --doctor" : joinGroup));
  }
  const auto runs = pastRuns(entries, since, until, now, journal, calendar);
  const bool isLost = std::ranges::any_of(
      runs, [](const auto& run) { return run.outcome == Outcome::missed || run.outcome == Outcome::failed; });
  const int status = options.check && isLost ? foundProblems : success;
  const auto notes = journalNotes(*begin, since, services);
  if (options.json) {
    for (const auto& note : notes) printMessage("warning: " + note);
    return {historyJson(runs, calendar), status};
  }
  auto view = historyView(runs, options.all, calendar, services.terminal) + (notes.empty() ? "" : "\n");
  for (const auto& note : notes) view += paragraph(printable(note), Style::plain, services.terminal);
  return {std::move(view), status};
}

Answer answerDoctor(const Options& options, const ViewerServices& services) {
  const auto crontab = [&] {
    // Reading it here has no limit of time.
    if (!services.commands.run({crontabProgram, {crontabArgument}}))
      throw std::runtime_error(std::string(crontabProgram) + " does not end in time, or is killed");
    return crontabText(std::nullopt, services.fileManager);
  };
  const auto findings = examine({.clock = services.clock,
                                 .calendar = services.calendar,
                                 .applications = services.applications,
                                 .fileManager = services.fileManager,
                                 .commands = services.commands,
                                 .serviceManager = services.serviceManager,
                                 .setup = services.setup,
                                 .powerAssertions = services.powerAssertions,
                                 .journal = services.journal,
                                 .crontab = crontab,
                                 .version = VERSION});
  return {options.json ? findingsJson(findings) : findingsView(findings, services.terminal),
          hasProblem(findings) ? foundProblems : success};
}

/// What became of the last runs; nullopt without a history. The journal tells about this user's crontab, and until now.
std::optional<std::vector<PastRun>> lastOf(std::span<const ScheduleEntry> entries, const Options& options,
                                           const ViewerServices& services) {
  if (options.file || options.at || !historyBegin(services.journal)) return std::nullopt;
  return lastRuns(entries, services.clock.now(), services.journal, services.calendar);
}

Answer answer(const Options& options, const ViewerServices& services) {
  if (options.doctor) return answerDoctor(options, services);
  if (options.newSchedule) return answerNew(*options.newSchedule, services);
  if (options.history) return answerHistory(options, services);
  const auto& calendar = services.calendar;
  const auto& terminal = services.terminal;
  const auto readTime = [&](const std::string& text) { return util::readTime(text, services.calendar); };
  const Instant now = options.at ? readArgument(*options.at, readTime) : services.clock.now();
  if (options.explain && !isLineNumber(*options.explain)) {
    auto text = explainFields(*options.explain, now, calendar, terminal);
    if (options.file) throw std::invalid_argument("five time fields are explained without a crontab, not with FILE");
    return {std::move(text)};
  }
  const auto month = monthOf(options, now, calendar);
  const auto text = crontabText(options.file, services.fileManager);
  if (options.explain) return {explainLine(text, *options.explain, now, calendar, terminal)};
  const auto entries = readScheduleEntries(text, now, calendar);

  if (options.next) {
    const auto view = nextRunView(entries);
    return {view, view.empty() ? foundNoRun : success};
  }
  const bool hasErrors =
      std::ranges::any_of(entries, [](const auto& entry) { return entry.diagnostics.error.has_value(); });
  const int status = options.check && hasErrors ? foundProblems : success;
  if (options.json)
    return {jsonView(entries, lastOf(entries, options, services).value_or(std::vector<PastRun>()), calendar), status};

  std::string view;
  if (month) {
    view = monthView(entries, *month, calendar, terminal);
  } else if (entries.empty() && !options.check) {
    const std::string found = isMarked(text) ? "only comments contain " : "no line contains ";
    view = paragraph("No schedules: " + found + std::string(marker) + ".", Style::plain, terminal) +
           paragraph("Write one with --new: see --help.", Style::plain, terminal);
  } else if (options.count) {
    view = runsView(entries, *options.count, now, calendar, terminal);
  } else if (!options.check) {
    view = nextRunsView(entries, lastOf(entries, options, services), now, calendar, terminal);
  }
  const auto problems = problemsView(entries, terminal);
  return {view + (view.empty() || problems.empty() ? "" : "\n") + problems, status};
}

}  // namespace

int runViewer(int count, const char* const* arguments, const ViewerServices& services) {
  try {
    const auto options = readOptions(count, arguments);
    const auto [text, status] = options ? answer(*options, services) : Answer();
    std::cout << text;
    if (!std::cout.flush()) throw std::system_error(errno, std::generic_category(), "cannot write the output");
    return status;
  } catch (const std::exception& error) {
    printMessage(error.what());
    return failure;
  }
}

}  // namespace zt
