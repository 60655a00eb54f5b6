#include "ztschedules/absence.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;
using Selection = Journal::Selection;

/// Two entries with nothing between them.
struct Gap {
  JournalEntry before, after;

  bool isRestart() const { return before.boot != after.boot; }
  /// How far the wall clock has moved while the machine was not awake.
  auto jump() const { return (after.time - before.time) - (after.awake - before.awake); }
};

class Search {
 public:
  Search(Instant minute, const Journal& journal, const Calendar& calendar)
      : start_(minute), end_(minute + 60s), journal_(journal), calendar_(calendar) {}

  Absence reason() {
    place_ = nearestPlace();
    const auto before = latest(Selection::all);
    if (!before) return {"the journal does not go back so far", false};
    boot_ = before->boot;
    const auto gap = gapAfter(*before);
    if (gap && (gap->isRestart() || isAtStart(*gap))) return {whileOff(*gap)};
    // Whoever stops the timer, or logs out, does not want to be woken, so that comes before sleep.
    if (const auto reason = whileStopped()) return {*reason};
    if (gap) return {failureIn(start_).value_or(whileAsleep(*gap))};
    if (const auto reason = whileHeldUp()) return {*reason};
    // Shortly before it as well: the next run comes too late then.
    if (const auto reason = failureIn(start_ - 60s)) return {*reason};
    return withoutReason();
  }

 private:
  /// Where the clock showed times nearest to the minute: it may only have been set past that time in another place.
  Journal::Place nearestPlace() const {
    const auto distance = [&](Journal::Place place) {
      auto time = JournalEntry::Time::max();
      journal_.readForward(Selection::all, start_, place, [&](const JournalEntry& entry) {
        time = entry.time;
        return false;
      });
      auto from = JournalEntry::Time{};
      journal_.readBackward(Selection::all, start_, place, [&](const JournalEntry& entry) {
        from = entry.time;
        return false;
      });
      return time - from;
    };
    return distance(Journal::Place::first) < distance(Journal::Place::last) ? Journal::Place::first
                                                                            : Journal::Place::last;
  }

  std::optional<JournalEntry> latest(Selection selection) const {
    std::optional<JournalEntry> found;
    journal_.readBackward(selection, start_, place_, [&](const JournalEntry& entry) {
      found = entry;
      return false;
    });
    return found;
  }

  /// The first entry at or after `from` of which `matches` holds.
  std::optional<JournalEntry> next(Selection selection, JournalEntry::Time from, auto matches) const {
    std::optional<JournalEntry> found;
    journal_.readForward(selection, from, place_, [&](const JournalEntry& entry) {
      if (matches(entry)) found = entry;
      return !found;
    });
    return found;
  }

  /// The first time within the minute in which the machine was not awake, or its clock was set forward.
  std::optional<Gap> gapAfter(JournalEntry before) const {
    std::optional<Gap> found;
    journal_.readForward(Selection::all, start_, place_, [&](const JournalEntry& after) {
      const Gap gap{std::exchange(before, after), after};
      if (gap.before.time >= end_) return false;
      if (gap.isRestart() || gap.jump() > 2s) found = gap;
      return !found;
    });
    return found;
  }

  bool wasAsleep(const Gap& gap) const {
    // What the machine tells last before it sleeps can be taken into the journal when it is awake again.
    const auto sleep = next(Selection::sleep, gap.before.time - 1min, [](const auto&) { return true; });
    return sleep && sleep->time <= gap.after.time + 10s;
  }

  /// Whether the clock was set soon after a start. Without a clock of its own a machine starts with an old time.
  bool isAtStart(const Gap& gap) const { return gap.before.awake < 5min && !wasAsleep(gap); }

  std::string whileOff(const Gap& gap) const {
    // Without the system's entries, nothing tells how long the machine was on before somebody logged in.
    const auto* const what = !gap.isRestart()             ? "switched off, or the clock was set forward,"
                             : journal_.scope().hasSystem ? "switched off"
                                                          : "switched off, or logged out,";
    return period(what, gap.before.time, gap.after.time);
  }

  std::string whileAsleep(const Gap& gap) const {
    const auto* const what = wasAsleep(gap)               ? "asleep"
                             : journal_.scope().hasSystem ? "the clock was set forward"
                                                          : "asleep, or the clock was set forward,";
    return period(what, gap.before.time, gap.after.time);
  }

  /// If the timer or the user's service manager was stopped.
  std::optional<std::string> whileStopped() const {
    std::optional<JournalEntry> last;
    bool managerHasStarted = false;
    journal_.readBackward(Selection::timer, start_, place_, [&](const JournalEntry& entry) {
      if (entry.boot != boot_) return false;
      // It starts the timer before it has started itself, so the entries before that tell about the timer.
      const bool isManagersStart = entry.event == JournalEvent::managerStarts;
      managerHasStarted = managerHasStarted || isManagersStart;
      if (!isManagersStart && entry.event != JournalEvent::other) last = entry;
      return !last;
    });
    const auto run = latest(Selection::tool);
    const bool wasActive = last ? last->event == JournalEvent::timerStarts
                                : run && run->boot == boot_;  // the journal does not go back to the start of the timer
    if (wasActive) {
      last = stopInMinute();
      if (!last) return std::nullopt;
      managerHasStarted = false;
    }
    const bool isTimer = managerHasStarted || (last && last->event == JournalEvent::timerStops);
    const auto started = isTimer ? JournalEvent::timerStarts : JournalEvent::managerStarts;
    const auto until = next(Selection::timer, start_, [&](const JournalEntry& entry) {
      return entry.event == started || entry.event == JournalEvent::timerStarts;
    });
    const std::string what = isTimer ? "the timer was stopped" : "the user's service manager was not running";
    return period(what, last && !(isTimer && managerHasStarted) ? std::optional(last->time) : std::nullopt,
                  until ? std::optional(until->time) : std::nullopt);
  }

  /// The last time in this minute that the timer or the service manager stopped.
  std::optional<JournalEntry> stopInMinute() const {
    std::optional<JournalEntry> last;
    journal_.readForward(Selection::timer, start_, place_, [&](const JournalEntry& entry) {
      if (entry.time >= end_) return false;
      if (entry.event == JournalEvent::timerStops || entry.event == JournalEvent::managerStops) last = entry;
      return true;
    });
    return last;
  }

  static bool endsRun(const JournalEntry& entry) {
    return entry.event == JournalEvent::runEnds || entry.event == JournalEvent::runFails ||
           (entry.event == JournalEvent::message && entry.text.starts_with("Heading out"));
  }

  /// Whether a program that hung, or was killed, has kept a run from going on until then.
  static bool isAboutKilled(const JournalEntry& entry) {
    return entry.text.starts_with("Killed ") || entry.text.find(" was killed by ") != entry.text.npos;
  }

  /// If a run that had begun earlier did not come to this minute.
  std::optional<std::string> whileHeldUp() const {
    std::optional<JournalEntry> last;
    journal_.readBackward(Selection::tool, start_, place_, [&](const JournalEntry& entry) {
      if (endsRun(entry) || entry.event == JournalEvent::message) last = entry;
      return !last;
    });
    if (!last || last->boot != boot_ || endsRun(*last)) return std::nullopt;
    const auto goesOn = next(Selection::tool, start_, [&](const JournalEntry& entry) {
      const bool isOwn = entry.event == JournalEvent::message && entry.process == last->process;
      return endsRun(entry) || (isOwn && (entry.time >= end_ || !isAboutKilled(entry)));
    });
    if (goesOn && goesOn->time < end_) return std::nullopt;
    auto reason = period("a run was held up", last->time, goesOn ? std::optional(goesOn->time) : std::nullopt);
    if (goesOn && isAboutKilled(*goesOn)) reason += ": " + goesOn->text;
    return reason;
  }

  /// If a run has failed from `from` to the end of the minute.
  std::optional<std::string> failureIn(JournalEntry::Time from) const {
    std::optional<std::string> found;
    journal_.readForward(Selection::tool, from, place_, [&](const JournalEntry& entry) {
      if (entry.time >= end_) return false;
      constexpr std::string_view name = "ztbackupbytime: ";
      const bool isMissing = entry.event == JournalEvent::message && entry.text.starts_with("Couldn't find");
      if (entry.event == JournalEvent::output && entry.text.starts_with(std::string(name) + "cannot ")) {
        found = entry.text.substr(name.size());
      } else if (isMissing || (entry.event == JournalEvent::runFails && !found)) {
        found = entry.text;
      }
      return true;
    });
    return found ? std::optional("a run failed: " + *found) : std::nullopt;
  }

  Absence withoutReason() const {
    const auto change = next(Selection::crontab, start_ - 70s, [](const auto&) { return true; });
    if (change && change->time < end_)
      return {"the crontab was changed at " + shortTime(change->time, start_, calendar_) + ", too late for a run"};
    // While the timer is active, there are entries of the tool at least once a minute. If there are none, they can have
    // been lost, unless the journal has others of that time.
    const auto before = latest(Selection::tool);
    const auto after = next(Selection::tool, start_, [](const auto&) { return true; });
    const auto other = next(Selection::all, start_, [](const auto&) { return true; });
    const bool hasOthers = other && other->time < end_;
    if (hasOthers || (before && after && after->time - before->time < 75s)) return {"the journal does not tell why"};
    return {period("the journal has no entries", before ? std::optional(before->time) : std::nullopt,
                   after ? std::optional(after->time) : std::nullopt),
            false};
  }

  std::string period(std::string text, std::optional<JournalEntry::Time> from,
                     std::optional<JournalEntry::Time> until) const {
    if (from) text += " from " + shortTime(*from, start_, calendar_);
    if (until) text += (from ? " to " : " until ") + shortTime(*until, start_, calendar_);
    return text;
  }

  Instant start_, end_;
  const Journal& journal_;
  const Calendar& calendar_;
  Journal::Place place_ = Journal::Place::last;
  std::string boot_{};  ///< the one that the minute began in
};

}  // namespace

Absence absenceIn(Instant minute, const Journal& journal, const Calendar& calendar) {
  return Search(minute, journal, calendar).reason();
}

std::string shortTime(JournalEntry::Time time, Instant day, const Calendar& calendar) {
  const auto local = calendar.localTime(std::chrono::floor<std::chrono::seconds>(time));
  const auto days =
      std::chrono::floor<std::chrono::days>(local) - std::chrono::floor<std::chrono::days>(calendar.localTime(day));
  return util::formatted(local, days.count() == 0 ? "%R" : abs(days) < std::chrono::days{7} ? "%a %R" : "%a %F %R");
}

}  // namespace zt
