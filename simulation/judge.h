#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "crontab.h"
#include "figures.h"
#include "journal.h"

namespace zt::simulation {

/// `starting` is from the request for a start to the start itself. `ending` is the milliseconds from the end of the
/// tool's work to that of its process.
enum class ToolState { stopped, starting, running, ending };

/// The tool's wake events, and whether the agent did what it was asked for in this run.
struct OwnWakeEvents {
  std::vector<Moment> armed;
  bool couldSet = true;
  bool couldCancel = true;  ///< otherwise there may be old events, which the tool could not see or not cancel
};

/// Compares what the tool does with what the crontab means. Prints the first violation, with what happened on the
/// machine before it. All times are those that the machine's clock shows.
///
/// What is due in a minute is missed if the tool made no pass for it although it had time:
/// - Nothing had disturbed the machine for long enough that the timer had to start the tool, to the end of the minute.
/// - Or the tool was asked to start in that minute, or a program for which it had waited came to an end, and nothing
///   disturbed the machine for a moment after that.
/// - Or the machine was asleep when the minute began, nothing else had gone wrong, and no wake event came.
/// Otherwise it is lost to the last thing that had disturbed the machine.
class Judge {
 public:
  Judge(std::string machine, Figures& figures) : machine_(std::move(machine)), figures_(figures) {}

  void note(Moment now, const TimeZone& zone, std::string_view what);  ///< what happens on the machine

  /// Something happens that may keep the tool from its work, or changes what is due in this minute.
  void disturb(Cause cause, bool changesWhatIsDue = false);
  /// The tool is asked to start, by a wake event or by somebody.
  void startIsRequested(ToolState state);
  /// A program for which the tool has waited long has come to an end.
  void programEnds();
  void clockIsSetBack() { ++timesSetBack_; }
  /// The machine is awake for this long, and the tool waits for no program.
  void timePasses(milliseconds duration);
  /// If the machine does not run when a minute begins: why.
  void minuteBegins(std::optional<Cause> stopped);
  /// With the crontab in force at its end. `toTheEnd`: the clock has not left it before, and the machine is awake;
  /// `comesAgain`: the clock is set back before it.
  void minuteEnds(Minute minute, const TimeZone& zone, const Crontab& crontab, bool toTheEnd, bool comesAgain);

  void runBegins(bool isAskedFor);
  /// The tool reads the crontab, and is to start what is due in the minute of `now`.
  void passBegins(Moment now, const TimeZone& zone, const Crontab& crontab);
  /// The tool tries to read the crontab, and cannot. That is no pass.
  void passFails();
  /// The tool cannot start a copy of this pass: the bash that is to print its URL hangs, for example.
  void lose(const std::string& url, Cause cause);
  void eventIsCancelled();
  void sleepAnnounced(seconds duration);
  void toolSleeps(Moment now, seconds duration, const OwnWakeEvents& wakeEvents);
  void copyStarted(Moment now, const std::string& url);
  void runEnds(Moment now, int status, bool assertionHeld, const OwnWakeEvents& wakeEvents);
  /// By somebody, or with the power or the service manager: off.
  void runIsKilled(Cause cause);

  /// A period with the same crontab and zone begins. nullopt: later, since the clock is wrong.
  void beginPeriod(std::optional<Moment> now) { truth_.beginPeriod(now); }
  /// The clock is right again.
  void continuePeriod(Moment now) {
    if (!truth_.hasPeriod()) truth_.beginPeriod(now);
  }
  /// Compares what the history tells about this period with what has become of the copies.
  void compareHistory(const MachineJournal& journal, Moment now, const Crontab& crontab, const TimeZone& zone);

  void otherViolation(const std::string& what);  ///< not about a copy

 private:
  /// A minute, and the offset that the clock has in it.
  using Shown = std::pair<Minute, minutes>;
  struct Pass {
    Minute minute;
    const TimeZone* zone;
    std::vector<std::string> due;
    std::optional<Minute> next;  ///< the first one after `minute` in which a schedule fires
    std::vector<std::string> started{};
    std::int64_t* again = nullptr;  ///< of the figures: if the minute has been served, how to count what is started
    bool slept = false;
    bool isOverturned = false;  ///< the clock, the zone or the crontab has been changed since
  };
  struct Service {
    std::int64_t run;
    int timesSetBack;
  };
  struct Note {
    Moment moment;
    minutes offset;
    std::string what;
  };

  void endPass();
  /// Counts the copies of the first pass in a minute.
  void compare(const Pass& pass);
  /// Checks that the event for the pass's next minute is armed, and no other.
  void checkArmed(const OwnWakeEvents& wakeEvents);
  void report(const std::string& violation);

  std::string machine_;
  Figures& figures_;
  Truth truth_;

  Cause cause_ = Cause::notAwake;    ///< the last thing that disturbed the machine
  milliseconds undisturbed_{};       ///< since then
  milliseconds timeForPass_{};       ///< in which a pass must begin; zero for no limit
  bool hadTime_ = false;             ///< for a pass in this minute
  bool hadPass_ = false;             ///< in this minute
  bool beganAsleep_ = false;         ///< this minute
  int timesSetBack_ = 0;             ///< the clock
  std::map<Shown, Service> served_;  ///< the minutes in which copies were started
  std::optional<Shown> lost_;        ///< the last one in which a pass could not start a copy; that is counted

  bool isAskedFor_ = false;           ///< the run
  std::optional<Pass> pass_;          ///< the last one of the run
  bool passFailed_ = false;           ///< the last one of the run
  std::optional<seconds> announced_;  ///< a sleep that has not begun
  std::array<Note, 100> history_;     ///< a ring
  std::int64_t notes_ = 0;
};

}  // namespace zt::simulation
