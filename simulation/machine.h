#pragma once

#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "judge.h"
#include "random.h"

namespace zt::simulation {

struct Options {
  /// The service manager starts the tool at each full minute, and if one passes during a run, again as soon as that has
  /// ended. Otherwise it does so 60 awake seconds after the last run has ended.
  bool calendarTimer = false;
  bool noHangs = false;  ///< no program hangs
  bool noArm = false;    ///< nothing is armed before the machine sleeps
};

/// One machine: its clock, its sleep, the person who uses it, its service manager, its wake events and its faults.
/// Time passes in work(), sleepUntil() and untilStart() only. Whatever else happens on the machine happens in them.
class Machine {
 public:
  struct WakeEvent {
    Moment at;
    std::string when;  ///< the same in local time, as the listing shows it
    bool ours;
    bool unlisted = false;  ///< `arm` has set it, and the tool has not listed it since
  };
  /// A program that fails ends without having done anything. One that hangs never ends; at times: every other call.
  enum class State { works, fails, isMissing, hangs, hangsAtTimes };
  /// Something that does not work for a while now and then.
  struct Part {
    const char* name;
    milliseconds meanTimeToFailure;
    std::vector<State> failures;  ///< one of them at a time
    State state = State::works;
    Moment changesAt{};
  };
  struct Program {
    milliseconds duration;
    bool hangs;  ///< and is killed at its limit
    bool works;
  };

  Machine(Random random, const Options& options, Judge& judge);

  /// Waits until the service manager starts the tool. False if the year is over.
  bool untilStart();
  /// The tool has returned from its work; its process ends milliseconds later.
  void toolEnds();

  /// The tool waits for a program: seconds in which the machine is asleep do not count.
  void work(milliseconds duration, Waiting waiting = Waiting::forProgram);
  /// Sleeps until a moment, or until the machine wakes if it is asleep then.
  void sleepUntil(Moment moment);

  Moment now() const { return now_; }
  milliseconds awakeTime() const { return awakeFor_; }
  Random& random() { return random_; }
  void note(std::string_view what) { judge_.note(now_, what); }

  /// The crontab in force. Whoever reads it makes a pass for this minute.
  std::shared_ptr<const Crontab> readCrontab();
  /// Starts a program that depends on these parts. Now and then one takes very long.
  Program launch(std::initializer_list<const Part*> parts, milliseconds limit);

  /// What the agent does when it is asked to set or cancel an event at month/day/year hour:minute:00.
  void setWakeEvent(const std::string& time);
  void cancelWakeEvent(const std::string& time);

  Part inhibitor{"the inhibitor", std::chrono::hours{60}, {State::fails}};
  Part listing{"the listing", std::chrono::hours{90}, {State::fails, State::hangs}};
  Part agent{"the agent", std::chrono::hours{135}, {State::fails, State::isMissing, State::hangs}};
  Part arm{"arm", std::chrono::hours{90}, {State::fails, State::hangs}};
  Part manager{"the service manager", std::chrono::hours{200}, {State::hangs}};
  Part setting{"setting a wake event", std::chrono::hours{270}, {State::fails, State::hangs}};
  Part cancelling{"cancelling a wake event", std::chrono::hours{200}, {State::hangs}};
  Part crontabProgram{"crontab", std::chrono::hours{200}, {State::hangs}};
  Part bash{"bash", std::chrono::hours{200}, {State::hangs, State::hangsAtTimes}};
  bool assertionHeld = false;
  std::vector<WakeEvent> wakeEvents;  ///< all that are armed, whoever set them

 private:
  /// Lets time pass until the next thing happens on the machine, but not beyond `target`. Gives whether anything has
  /// happened.
  bool advance(Moment target);
  void passTo(Moment moment);
  void wait(milliseconds duration, Waiting waiting);
  Moment timerElapsesAt() const;

  void personComesOrGoes();
  void idleTimeIsOver();
  /// The service manager runs `arm`, and soon afterwards the machine is asleep, whatever happens meanwhile. If somebody
  /// comes back in that time, they wake it again. What is due in that time may start the tool, but keeps nothing awake.
  void requestSleep(const char* why);
  void runArm();
  void readForArm();
  /// `arm` sets the event again and again.
  void untilAsleep();
  void fallAsleep();
  /// The next step on the way to sleep.
  void continueIn(milliseconds delay, std::function<void()> step);
  void wakeUp(const char* by);
  void fireWakeEvent(std::size_t index);
  void changeCrontab();
  void failOrRecover(Part& part);
  void addForeignEvent();
  void addWakeEvent(Moment at, bool byArm);
  milliseconds programDuration();

  Random random_;
  Options options_;
  Judge& judge_;
  Moment now_, end_;
  bool awake_ = true;
  milliseconds awakeFor_{};  ///< in all: what a monotonic clock shows
  bool personIsThere_ = true;
  Moment personComesOrGoesAt_, crontabChangesAt_;
  Moment idleTimeIsOverAt_ = Moment::max(), wakesAt_ = Moment::max();  ///< max() for never
  Moment continuesAt_ = Moment::max();                                 ///< on its way to sleep
  std::function<void()> nextStep_;                                     ///< null if it is not
  Arming arming_ = Arming::failed;                                     ///< the last time
  std::optional<Minute> armsFor_;
  std::shared_ptr<const Crontab> armsCrontab_;
  Moment readForArmAt_;
  Moment asleepAt_;

  ToolState tool_ = ToolState::stopped;
  Waiting waiting_ = Waiting::no;
  milliseconds timerElapses_{};  ///< on the monotonic clock
  Moment tick_;                  ///< the next one of the calendar timer

  std::array<Part*, 9> parts_{&inhibitor, &listing,    &agent,          &arm, &manager,
                              &setting,   &cancelling, &crontabProgram, &bash};
  std::shared_ptr<const Crontab> crontab_;
  MinuteRecord before_, record_;  ///< of the last minute and of this one
};

}  // namespace zt::simulation
