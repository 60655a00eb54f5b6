#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "crontab.h"

namespace zt::simulation {

using std::chrono::seconds;

/// What became of the copies that were due: one for every minute and every schedule that fires in it.
struct Figures {
  std::int64_t machineYears = 0, runs = 0;
  std::int64_t due = 0, startedOnce = 0, late = 0;
  std::int64_t missed = 0, doubled = 0, early = 0;
  std::int64_t other = 0;  ///< violations other than these three
  // Lost through no fault of the tool: see Judge::minuteEnds().
  std::int64_t asleepInRun = 0, asleepUnset = 0, awakeTooShort = 0, heldUp = 0, ending = 0;

  std::int64_t violations() const { return missed + doubled + early + other; }
  bool isReported = false;  ///< the first of them
};

/// `starting` is from the request for a start to the start itself. `ending` is the milliseconds from the end of the
/// tool's work to that of its process.
enum class ToolState { stopped, starting, running, ending };

/// What happened on the machine in one minute, as far as it decides what the tool could do in it.
struct MinuteRecord {
  milliseconds awake{};
  milliseconds available{};          ///< of `awake`: since it last woke, while no program kept the tool waiting
  std::optional<ToolState> atEvent;  ///< of the tool, when the last wake event of ours came; none if none came
  milliseconds availableSinceEvent{};
  bool crontabChanged = false;
  bool hadPass = false;  ///< the tool made a pass for what is due in it
};

/// The tool's wake events, and whether it could set them in this run.
struct OwnWakeEvents {
  std::vector<Moment> armed;
  bool agentWorked = true;
  bool listingWorked = true;  ///< otherwise there may be old events that the tool could not see
};

/// Compares what the tool does with what the crontab means. Prints the first violation, with what happened on the
/// machine before it.
class Judge {
 public:
  Judge(std::string machine, Figures& figures) : machine_(std::move(machine)), figures_(figures) {}

  /// Records what happens on the machine.
  void note(Moment now, std::string_view what);

  void runBegins();
  /// The tool reads the crontab, and is to start what is due in the minute of `now`.
  void passBegins(Moment now, std::shared_ptr<const Crontab> crontab);
  void sleepAnnounced(seconds duration);
  void toolSleeps(Moment now, seconds duration, const OwnWakeEvents& wakeEvents);
  void copyStarted(Moment now, const std::string& url);
  void runEnds(Moment now, int status, bool assertionHeld, const OwnWakeEvents& wakeEvents);

  /// `minute` is over, and `inForce` is the crontab at its end. Without a pass, what was due is missed if
  /// - the machine was awake to its end, and before for long enough that the timer had to start the tool, and the
  ///   crontab had stayed the same in this minute and the one before; or
  /// - a wake event of ours came in this minute, and the machine was awake long enough after it for a pass; or
  /// - the machine was asleep, but the last run had set the wake event for this crontab.
  ///
  /// Otherwise the tool is not to blame:
  /// - The machine was asleep, and no event could wake it: it was put to sleep during a run (asleepInRun), or the event
  ///   could not be set, was not set yet for a new crontab, or came while a run was ending (asleepUnset).
  /// - The wake event came in the milliseconds in which a run ended, so that its request for a start was lost (ending).
  /// - A program kept the tool waiting (heldUp).
  /// - The machine was not awake long enough, or not after the crontab was changed (awakeTooShort).
  void minuteEnds(Minute minute, const MinuteRecord& before, const MinuteRecord& record, const Crontab& inForce);

  /// For what is not about a copy.
  void otherViolation(const std::string& what);

 private:
  struct Pass {
    Minute minute;
    std::vector<std::string> due;
    std::optional<Minute> next;  ///< the first one after `minute` in which a schedule fires
    std::shared_ptr<const Crontab> crontab;
    std::vector<std::string> started{};
    bool slept = false;
  };

  void endPass();
  /// Counts the copies of the first pass in a minute.
  void compare(const Pass& pass);
  /// Checks that the event for the pass's next minute is armed, and no other.
  void checkArmed(const OwnWakeEvents& wakeEvents);
  void report(const std::string& violation);

  std::string machine_;
  Figures& figures_;
  std::optional<Pass> pass_;  ///< the last one of the run
  Minute lastMinute_{};       ///< the last one with a pass
  int passesInMinute_ = 0;
  bool runIsUnderWay_ = false;
  /// The crontab from which the armed wake event was computed. Null during a run, or if the event could not be set or
  /// was lost.
  std::shared_ptr<const Crontab> armedFor_;
  std::optional<seconds> announced_;                    ///< a sleep that has not begun
  std::deque<std::pair<Moment, std::string>> history_;  ///< the last 100 notes
};

}  // namespace zt::simulation
