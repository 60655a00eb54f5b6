#include "ztschedules/history.h"

#include <algorithm>
#include <map>
#include <utility>

#include "schedules/next_event.h"
#include "util/time_text.h"
#include "ztschedules/absence.h"
#include "ztschedules/copy_url.h"
#include "ztschedules/passes.h"

namespace zt {
namespace {

using namespace std::chrono_literals;

/// So long after its minute has begun, a copy is started if it ever is, unless a program hangs.
constexpr auto patience = 90s;

std::chrono::seconds offsetAt(Instant instant, const Calendar& calendar) {
  return calendar.localTime(instant).time_since_epoch() - instant.time_since_epoch();
}

/// Why a pass had no URL for a schedule, if it says so.
std::optional<std::string> urlErrorOf(const ScheduleEntry& entry, const Pass& pass) {
  const auto& line = entry.line.crontabLine();
  const auto error = std::ranges::find_if(pass.errors, [&](const auto& text) { return text.find(line) != text.npos; });
  if (error == pass.errors.end()) return std::nullopt;
  // The rest only says from which line.
  return error->substr(0, std::min(error->find(" extracted and unescaped from \""), error->find(" from \"")));
}

/// Gives each run that is due in a minute the start of its copy in a pass; null if there is none.
std::vector<const Pass::Start*> startsOf(std::span<const PastRun> due, const Pass& pass) {
  std::vector<const Pass::Start*> result(due.size());
  std::vector<const Pass::Start*> left;
  for (const auto& start : pass.starts) left.push_back(&start);
  const auto give = [&](auto isMeant) {
    for (std::size_t i = 0; i < due.size(); ++i) {
      if (result[i] != nullptr) continue;
      const auto start = std::ranges::find_if(left, [&](const auto* one) { return isMeant(*due[i].entry, *one); });
      if (start == left.end()) continue;
      result[i] = *start;
      left.erase(start);
    }
  };
  give([](const ScheduleEntry& entry, const Pass::Start& start) {
    const auto url = certainURL(entry.line);
    return url && url->path() == start.path;
  });
  // What bash makes of the others is not certain. They are started in the order of the crontab.
  give([&](const ScheduleEntry& entry, const Pass::Start&) {
    return !certainURL(entry.line) && !urlErrorOf(entry, pass);
  });
  return result;
}

class Historian {
 public:
  Historian(const Journal& journal, const Calendar& calendar) : journal_(journal), calendar_(calendar) {}

  /// Finds out about the runs that are due in a minute. Sets the outcome of all.
  void judge(std::span<PastRun> due) {
    const auto minute = due.front().due;
    const auto passes = passesOf(minute, journal_);
    if (passes.empty()) {
      const auto [reason, isCertain] = absenceIn(minute, journal_, calendar_);
      for (auto& run : due) {
        run.outcome = isCertain ? Outcome::missed : Outcome::unknown;
        run.reason = reason;
      }
      return;
    }
    for (auto& run : due) run.outcome = Outcome::notDue;
    for (const auto& pass : passes) {
      const auto starts = startsOf(due, pass);
      for (std::size_t i = 0; i < due.size(); ++i) addPass(due[i], pass, starts[i]);
    }
  }

  /// A schedule of now may not have been in the crontab in a minute without a pass. What the pass before it expected
  /// tells, or else whether the schedule was there in other passes. `runs` is of one schedule, oldest first.
  void adjust(std::span<PastRun*> runs) const {
    const PastRun* before = nullptr;
    for (auto i = runs.begin(); i != runs.end(); ++i) {
      auto& run = **i;
      if (hadPass(run)) {
        before = &run;
        continue;
      }
      const auto after = std::find_if(i, runs.end(), [](const auto* one) { return hadPass(*one); });
      const bool isNotThereAfter = after != runs.end() && (*after)->outcome == Outcome::notDue;
      const bool isNotThereBefore = before != nullptr && before->outcome == Outcome::notDue;
      const auto change = crontabChange(run.due);
      const auto expected = wasExpected(run.due, journal_, calendar_);
      // What was expected can be another schedule of that minute.
      if (expected == true ? !isNotThereBefore : !expected && before != nullptr && !isNotThereBefore) continue;
      const bool isUnchangedSince = isNotThereBefore && change && crontabChange(before->due) == change;
      if (expected == false || isNotThereAfter || isUnchangedSince) {
        run.outcome = Outcome::notDue;
        run.reason = whyAnotherCrontab(change, run.due);
      } else if (change) {
        run.outcome = Outcome::unknown;
        run.reason += "; the crontab was changed after that, at " + shortTime(*change, run.due, calendar_);
      }
    }
  }

 private:
  static bool hadPass(const PastRun& run) { return run.outcome != Outcome::missed && run.outcome != Outcome::unknown; }

  void addPass(PastRun& run, const Pass& pass, const Pass::Start* start) const {
    if (start != nullptr && start->error.empty()) {
      if (run.outcome == Outcome::started) {
        run.reason = "started again at " + shortTime(start->time, run.due, calendar_);
        return;
      }
      run.outcome = Outcome::started;
      // The clock can have been set back in the run.
      run.delay = std::max(std::chrono::floor<std::chrono::seconds>(start->time - run.due), 0s);
      run.reason.clear();
    } else if (run.outcome == Outcome::started) {
      return;
    } else if (start == nullptr && !pass.hasEnded) {
      run.outcome = Outcome::unknown;
      run.reason = "the journal does not tell how its run went on";
    } else if (auto error = errorOf(run, pass, start)) {
      run.outcome = Outcome::failed;
      run.reason = *std::move(error);
    } else if (run.outcome == Outcome::notDue) {
      run.reason = whyNotDue(pass);
    }
  }

  /// Why a pass could not start a copy that was due; nullopt if it was not due in that pass.
  static std::optional<std::string> errorOf(const PastRun& run, const Pass& pass, const Pass::Start* start) {
    if (start != nullptr) return start->error;
    if (auto error = urlErrorOf(*run.entry, pass)) return error;
    const bool isAborted = std::ranges::any_of(pass.errors, [](const auto& e) { return e.starts_with("cannot "); });
    if (pass.hasReadCrontab && !isAborted) return std::nullopt;
    return pass.errors.empty() ? "the run ended before it" : pass.errors.back();
  }

  std::string whyNotDue(const Pass& pass) const {
    if (pass.offset != offsetAt(pass.time, calendar_)) {
      const auto date = std::chrono::hh_mm_ss(pass.offset);
      return "the tool's time zone was another: UTC" + std::string(date.is_negative() ? "-" : "+") +
             util::formatted(LocalTime{abs(pass.offset)}, "%R");
    }
    return whyAnotherCrontab(crontabChange(pass.time), pass.time);
  }

  std::string whyAnotherCrontab(const std::optional<JournalEntry::Time>& change, Instant day) const {
    return "the crontab was another then" +
           (change ? ": it was changed after that, at " + shortTime(*change, day, calendar_) : std::string());
  }

  /// When the crontab was changed the next time after an instant, as far as the journal tells.
  std::optional<JournalEntry::Time> crontabChange(Instant instant) const {
    std::optional<JournalEntry::Time> found;
    journal_.readForward(Journal::Selection::crontab, instant, Journal::Place::last, [&](const JournalEntry& entry) {
      found = entry.time;
      return false;
    });
    return found;
  }

  const Journal& journal_;
  const Calendar& calendar_;
};

/// Judges runs. `runs` is in order of time.
void judge(std::vector<PastRun>& runs, const Journal& journal, const Calendar& calendar) {
  Historian historian(journal, calendar);
  for (auto first = runs.begin(); first != runs.end();) {
    const auto last = std::find_if(first, runs.end(), [&](const auto& run) { return run.due != first->due; });
    historian.judge({first, last});
    first = last;
  }
  std::map<const ScheduleEntry*, std::vector<PastRun*>> ofEntries;
  for (auto& run : runs) ofEntries[run.entry].push_back(&run);
  for (auto& [entry, ofEntry] : ofEntries) historian.adjust(ofEntry);
}

/// The runs that are due from `since` to `until`, in order of time.
std::vector<PastRun> dueRuns(std::span<const ScheduleEntry> entries, Instant since, Instant until,
                             const Calendar& calendar) {
  std::vector<PastRun> runs;
  for (const auto& entry : entries) {
    if (!entry.makesCopies()) continue;
    for (auto due = nextRunDate(entry.schedule, since, calendar); due && *due <= until;
         due = nextRunDate(entry.schedule, *due + 1min, calendar)) {
      runs.push_back({&entry, *due, Outcome::unknown});
    }
  }
  std::ranges::stable_sort(runs, {}, &PastRun::due);
  return runs;
}

/// Leaves out what is not known yet, or not any more.
std::vector<PastRun> judged(std::vector<PastRun> runs, Instant now, const Journal& journal, const Calendar& calendar) {
  judge(runs, journal, calendar);
  std::erase_if(runs, [&](const auto& run) { return run.due + patience > now && run.outcome != Outcome::started; });
  return runs;
}

}  // namespace

bool isProblem(const PastRun& run) {
  return run.outcome != Outcome::notDue && (!run.reason.empty() || run.delay >= 60s);
}

std::vector<PastRun> pastRuns(std::span<const ScheduleEntry> entries, Instant since, Instant until, Instant now,
                              const Journal& journal, const Calendar& calendar) {
  const auto begin = historyBegin(journal);
  if (!begin) return {};
  return judged(dueRuns(entries, std::max(since, *begin - patience), std::min(until, now), calendar), now, journal,
                calendar);
}

std::vector<PastRun> lastRuns(std::span<const ScheduleEntry> entries, Instant now, const Journal& journal,
                              const Calendar& calendar) {
  const auto begin = historyBegin(journal);
  if (!begin) return {};
  constexpr std::ptrdiff_t enough = 3;  // the last may be pending, and the one before tells about it
  std::vector<PastRun> runs;
  std::vector<const ScheduleEntry*> uncertain;  // which are told apart by what else is started
  for (const auto& entry : entries) {
    std::vector<PastRun> own;
    for (const auto days : {4, 24, 120, 400}) {
      own = dueRuns({&entry, 1}, std::max<Instant>(now - std::chrono::days{days}, *begin - patience), now, calendar);
      if (std::ssize(own) >= enough) break;
    }
    runs.insert(runs.end(), own.end() - std::min(std::ssize(own), enough), own.end());
    if (entry.makesCopies() && !certainURL(entry.line)) uncertain.push_back(&entry);
  }
  for (std::size_t i = 0, count = runs.size(); i < count; ++i) {
    if (std::ranges::find(uncertain, runs[i].entry) == uncertain.end()) continue;
    const auto local = calendar.localTime(runs[i].due);
    for (const auto* other : uncertain) {
      if (other->schedule.firesAt(local)) runs.push_back({other, runs[i].due, Outcome::unknown});
    }
  }
  const auto key = [](const PastRun& run) { return std::pair(run.due, run.entry); };
  std::ranges::sort(runs, {}, key);
  runs.erase(std::unique(runs.begin(), runs.end(), [&](const auto& a, const auto& b) { return key(a) == key(b); }),
             runs.end());
  std::map<const ScheduleEntry*, PastRun> last;
  for (auto& run : judged(std::move(runs), now, journal, calendar)) {
    if (run.outcome != Outcome::notDue) last.insert_or_assign(run.entry, std::move(run));
  }
  std::vector<PastRun> result;
  result.reserve(last.size());
  for (auto& [entry, run] : last) result.push_back(std::move(run));
  return result;
}

std::optional<Instant> historyBegin(const Journal& journal) {
  std::optional<Instant> begin;
  journal.readForward(Journal::Selection::tool, {}, Journal::Place::first, [&](const JournalEntry& entry) {
    begin = std::chrono::floor<std::chrono::seconds>(entry.time);
    return false;
  });
  return begin;
}

}  // namespace zt
