#pragma once

#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "journal.h"
#include "judge.h"
#include "platform/clock.h"
#include "random.h"

namespace zt::simulation {

struct Options {
  /// The service manager starts the tool at each full minute, and if one passes during a run, again as soon as that has
  /// ended. Otherwise it does so 60 awake seconds after the last run has ended.
  bool calendarTimer = false;
  std::set<std::string, std::less<>> without{};  ///< the groups of faults that do not happen
};

/// Thrown out of a run of the tool that is killed.
struct Killed {};

/// One machine: its clock, its sleep, the person who uses it, its service manager, its wake events and its faults.
/// Time passes in work(), sleepFor(), toolEnds() and untilStart() only, and whatever happens on it happens in them.
class Machine {
 public:
  struct WakeEvent {
    Moment at;         ///< on the machine's clock
    std::string when;  ///< the same in local time, as the listing shows it
    bool ours;
    bool isOld = false;     ///< set by the agent before the upgrade, which has named it after that local time
    bool unlisted = false;  ///< `arm` has set it, and the tool has not listed it since
  };
  /// What does not work for a while now and then.
  enum class Part { inhibitor, listing, agent, arm, manager, setting, cancelling, crontab, bash, count };
  /// A program that fails ends without having done anything. One that hangs never ends; at times: every other call.
  enum class State { works, fails, isMissing, hangs, hangsAtTimes };
  struct Program {
    milliseconds duration;
    bool hangs;  ///< and is killed at its limit
    bool works;
  };

  Machine(Random random, Options options, Judge& judge, MachineJournal& journal, const TimeZone& zone);

  static bool isGroup(std::string_view name);

  /// Waits until the service manager starts the tool. False if the year is over.
  bool untilStart();
  /// The tool has returned from its work; its process ends milliseconds later.
  void toolEnds();
  void toolIsGone();  ///< it was killed

  /// The tool waits for a program: seconds in which the machine is asleep do not count. Like the other two, this throws
  /// Killed if the tool is killed meanwhile.
  void work(milliseconds duration);
  /// Sleeps for `duration`, or until the clock is set forward and the machine is awake. Returns whether that is over.
  bool sleepFor(seconds duration);

  Moment clock() const { return now_ + clockError_; }
  platform::Clock::Uptime uptime() const { return {now_ - start_, awakeFor_}; }
  const TimeZone& zone() const { return *zone_; }
  Random& random() { return random_; }
  State state(Part part) const { return states_.at(static_cast<std::size_t>(part)); }
  void note(std::string_view what) { judge_.note(clock(), *zone_, what); }
  std::optional<Cause> stopped() const;  ///< why the tool cannot run; nullopt if it can
  bool runIsAskedFor() const { return isAskedFor_; }
  /// Writes an entry to the journal: what the tool has logged or printed, or what has happened.
  void record(JournalEvent event, const std::string& text = {});

  const std::shared_ptr<const Crontab>& crontab() const { return crontab_; }
  /// Starts a program that depends on these parts. Now and then one takes very long.
  Program launch(std::initializer_list<Part> parts, milliseconds limit);
  /// The tool has started a copy.
  void copyStarted() { release(When::afterCopy, std::chrono::seconds{70}); }

  /// What the agent does when it is asked to set or cancel an event at month/day/year hour:minute:00.
  void setWakeEvent(const std::string& time);
  void cancelWakeEvent(const std::string& time);

  bool assertionHeld = false;
  std::vector<WakeEvent> wakeEvents;  ///< all that are armed, whoever set them

 private:
  static constexpr Moment never = Moment::max();

  /// When a fault happens: at any moment, or every other time soon after one of these.
  enum class When { anyTime, runBegins, afterCopy, afterWake };
  struct Failure {
    Part part;
    State state;
  };
  struct Incident {
    void (Machine::*happens)();
    When when = When::anyTime;
  };
  struct Fault {
    std::string_view group;
    const char* what;
    std::chrono::hours every;  ///< on average
    std::variant<Failure, Incident> effect;
  };
  struct Pending {
    Moment at = never;
    bool hasBegun = false;  ///< a failure that lasts
    bool isHeld = false;    ///< until its When
  };
  static constexpr std::size_t faultCount = 31;
  static const std::array<Fault, faultCount> faults;

  void drawFault(std::size_t index);
  void faultHappens();
  void failOrRecover(const Failure& failure, std::size_t index);
  void setFaultAt(std::size_t index, Moment at);
  /// Lets the faults happen that were held for this moment.
  void release(When when, milliseconds within);
  bool isOn(std::string_view group) const { return !options_.without.contains(group); }

  void stepClock();
  void setClockWrong();
  void setClockRight();
  void changeZone();
  void cutPower();
  void returnPower();
  void hibernate() { hibernatesNext_ = true; }
  void killTool();
  void upgrade();
  void startByHand();
  void restartTimer();
  void reloadManager();
  void restartManager();
  void logOut();
  void changeCrontab();

  void setClock(milliseconds error);
  void stopManager();
  void endManager();  ///< orderly: the journal tells of it
  void startManager();
  /// Before what is due changes, by the crontab or by the zone: compares the history of the time before.
  void changeWhatIsDue();
  void requestStart();

  /// Lets time pass until the next thing happens on the machine, but not beyond `target`. Gives whether anything has
  /// happened.
  bool advance(Moment target);
  void passTo(Moment moment);
  void wait(milliseconds duration);
  Moment timerElapsesAt() const;

  void personComesOrGoes();
  void idleTimeIsOver();
  /// The service manager runs `arm`, and soon afterwards the machine is asleep, whatever happens meanwhile. If somebody
  /// comes back in that time, they wake it again. What is due in that time may start the tool, but keeps nothing awake.
  void requestSleep(const char* why);
  void continueToSleep();
  void runArm();
  void readForArm();
  /// `arm` sets the event again and again.
  void untilAsleep();
  void fallAsleep();
  /// The next step on the way to sleep.
  void continueIn(milliseconds delay, std::function<void()> step);
  void clockWakes() { wakeUp("its clock"); }
  void wakeUp(const char* by);
  std::vector<WakeEvent>::const_iterator firstEvent() const;
  void firstEventComes();
  void addForeignEvent();
  void addWakeEvent(Moment at, bool byArm);
  milliseconds programDuration();

  enum class Power { on, asleep, hibernating, off };

  Random random_;
  Options options_;
  Judge& judge_;
  MachineJournal& journal_;
  Moment start_, now_, end_;   ///< as a clock would show it that is right
  milliseconds clockError_{};  ///< of the clock that the machine has
  const TimeZone* zone_;

  Power power_ = Power::on;
  bool personIsThere_ = true;
  bool lidIsClosed_ = false;
  bool hibernatesNext_ = false;
  bool armIsOvertaken_ = false;  ///< the crontab, the clock or the zone was changed after `arm` had looked at them
  bool managerRuns_ = true;
  milliseconds awakeFor_{};  ///< in all: what a monotonic clock shows
  milliseconds awakeAtBoot_{};
  std::int64_t boots_ = 0, runs_ = 0;  ///< until now
  Moment personComesOrGoesAt_, idleTimeIsOverAt_ = never, wakesAt_ = never, powerReturnsAt_ = never;
  Moment clockIsRightAt_ = never;   ///< again; never if it is right
  Moment continuesAt_ = never;      ///< on its way to sleep
  std::function<void()> nextStep_;  ///< null if it is not

  std::array<State, static_cast<std::size_t>(Part::count)> states_{};
  std::array<Pending, faultCount> pending_;
  std::size_t nextFault_ = 0;

  Cause arming_ = Cause::armFailed;  ///< what became of `arm` the last time; `nothing` if it has worked
  std::optional<Minute> armsFor_;
  Moment readForArmAt_, asleepAt_;
  Moment managerStartsAt_ = never, managerAnswersAt_{};

  ToolState tool_ = ToolState::stopped;
  bool lingers_;  ///< the service manager runs while nobody is logged in
  bool agentIsOld_;
  bool isAskedFor_ = false;  ///< by a person or at the start of the service manager: the next run, or the one under way
  bool isKilled_ = false;    ///< the run under way
  bool isWaiting_ = false;   ///< for a program
  bool sleepIsOver_ = false;
  milliseconds timerElapses_{};  ///< on the monotonic clock
  Moment tick_;                  ///< the next one of the calendar timer

  std::shared_ptr<const Crontab> crontab_;
};

}  // namespace zt::simulation
