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
  std::int64_t armFailed = 0, refused = 0, cancelled = 0, overtaken = 0;
  std::int64_t awakeTooShort = 0, heldUp = 0, hung = 0, ending = 0;

  std::int64_t violations() const { return missed + doubled + early + other; }
  bool isReported = false;  ///< the first of them
};

/// `starting` is from the request for a start to the start itself. `ending` is the milliseconds from the end of the
/// tool's work to that of its process.
enum class ToolState { stopped, starting, running, ending };

/// What the tool waits for: nothing, a program (or it is itself being loaded), or one that is killed in the end.
enum class Waiting { no, forProgram, forHung, forHungCrontab };

/// How long the tool may wait for a program before it kills it. Whatever is lost after that is missed.
constexpr milliseconds mostForHung = seconds{30};

/// What became of the agent's `arm`, which sets the wake event for the next schedule before the machine sleeps. It
/// worked; it failed or was killed; the service manager refused or hung. Or it worked, but then a run cancelled that
/// event (cancelled), or its time came or the crontab was changed (overtaken), all before the machine was asleep.
enum class Arming { worked, failed, refused, cancelled, overtaken };

/// What happened on the machine in one minute, as far as it decides what the tool could do in it.
struct MinuteRecord {
  milliseconds awake{};
  milliseconds available{};  ///< of `awake`: since it last woke, while the tool did not wait for a program that ends
  std::optional<ToolState> atEvent;  ///< of the tool, when the last wake event of ours came; none if none came
  milliseconds availableSinceEvent{};
  bool hung = false;         ///< the tool waited for a program that it killed in the end, in this minute or later
  bool crontabHung = false;  ///< for crontab
  milliseconds availableSinceHang{};
  bool crontabChanged = false;
  bool hadPass = false;               ///< the tool made a pass for what is due in it
  std::optional<Arming> asleepAfter;  ///< of the sleep in which it began; none if the machine was awake
};

/// The tool's wake events, and whether the agent did what it was asked for in this run.
struct OwnWakeEvents {
  std::vector<Moment> armed;
  bool couldSet = true;
  bool couldCancel = true;  ///< otherwise there may be old events, which the tool could not see or not cancel
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
  /// The tool tries to read the crontab, but crontab hangs. That is no pass.
  void passFails();
  /// The bash that is to print this URL hangs. The tool cannot start that copy in this pass.
  void wordHangs(const std::string& url);
  void sleepAnnounced(seconds duration);
  void toolSleeps(Moment now, seconds duration, const OwnWakeEvents& wakeEvents);
  void copyStarted(Moment now, const std::string& url);
  void runEnds(Moment now, int status, bool assertionHeld, const OwnWakeEvents& wakeEvents);

  /// `minute` is over, and `inForce` is the crontab at its end. Without a pass, what was due is missed if
  /// - the machine was awake to its end, and before for long enough that the timer had to start the tool, and the
  ///   crontab had stayed the same in this minute and the one before; or
  /// - a wake event of ours came in this minute, and the machine was awake long enough after it for a pass; or
  /// - the machine was asleep when the minute began, no event of ours came in it, and the crontab stayed the same, but
  ///   the last run had set the wake event for this crontab, or `arm` had worked.
  ///
  /// In a minute in which the tool waited for a program that hung, the first two do not count. What was due is missed
  /// if that was not crontab, the run had read this crontab, and it was available long enough afterwards for a pass.
  /// In the next minute everything counts again: the time of waiting for a hung program is no excuse there. But if
  /// crontab hung in the minute before, and no wake event is set for this one, the timer may be too late.
  ///
  /// Otherwise the tool is not to blame:
  /// - The machine was asleep, and no event could wake it, because `arm` had not worked (armFailed, refused, cancelled,
  ///   overtaken) and no run had set one: it could not, it had not done so yet, or the event had come while crontab
  ///   hung or while a run was ending.
  /// - The wake event came in the milliseconds in which a run ended, so that its request for a start was lost (ending).
  /// - A program hung in this minute, or crontab in the one before, and was killed (hung). So is a copy whose own bash
  ///   hung counted: see wordHangs().
  /// - Another program kept the tool waiting (heldUp).
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
    std::vector<std::string> unreadable{};  ///< of `due`: their bash hung
    bool slept = false;
  };

  void endPass();
  /// The copies that were lost in a sleep before which that became of `arm`.
  std::int64_t& lostAfter(Arming arming);
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
  bool passFailed_ = false;  ///< the last one of the run
  /// The crontab from which the armed wake event was computed. Null from each pass until the tool has set the event, or
  /// if it could not or the event has come. A run that cannot read the crontab must leave the event as it is.
  std::shared_ptr<const Crontab> armedFor_;
  std::optional<seconds> announced_;                    ///< a sleep that has not begun
  std::deque<std::pair<Moment, std::string>> history_;  ///< the last 100 notes
};

}  // namespace zt::simulation
