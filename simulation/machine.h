#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "judge.h"
#include "random.h"

namespace zt::simulation {

/// How the service manager starts the tool, besides at once at a wake event of ours.
enum class Timer {
  sinceLastEnd,  ///< 60 awake seconds after the last run has ended
  calendar       ///< at each full minute; if one passes during a run, again as soon as that has ended
};

/// One machine: its clock, its sleep, the person who uses it, its service manager, its wake events and its faults.
/// Time passes in work(), sleepUntil() and untilStart() only. Whatever else happens on the machine happens in them.
class Machine {
 public:
  struct WakeEvent {
    Moment at;
    std::string when;  ///< the same in local time, as the listing shows it
    bool ours;
  };
  /// Something that fails now and then.
  struct Part {
    milliseconds meanTimeToFailure;
    bool works = true;
    Moment changesAt{};
  };

  Machine(Random random, Timer timer, Judge& judge);

  /// Waits until the service manager starts the tool. False if the year is over.
  bool untilStart();
  /// The tool has returned from its work; its process ends milliseconds later.
  void toolEnds();

  /// A program takes its time: seconds in which the machine is asleep do not count.
  void work(milliseconds duration);
  /// Sleeps until a moment, or until the machine wakes if it is asleep then.
  void sleepUntil(Moment moment);

  Moment now() const { return now_; }
  Random& random() { return random_; }
  void note(std::string_view what) { judge_.note(now_, what); }

  /// The crontab in force. Whoever reads it makes a pass for this minute.
  std::shared_ptr<const Crontab> readCrontab();
  /// Of any program. Now and then one hangs for a while.
  milliseconds programDuration();

  /// What the agent does when it is asked to set an event at month/day/year hour:minute:00.
  void setWakeEvent(const std::string& time);

  Part inhibitor{std::chrono::hours{60}}, listing{std::chrono::hours{90}}, agent{std::chrono::hours{90}};
  bool agentIsMissing = false;  ///< while it does not work; otherwise it is there, and does nothing
  bool assertionHeld = false;
  std::vector<WakeEvent> wakeEvents;  ///< all that are armed, whoever set them

 private:
  /// Lets time pass until the next thing happens on the machine, but not beyond `target`. Gives whether anything has
  /// happened.
  bool advance(Moment target);
  void passTo(Moment moment);
  Moment timerElapsesAt() const;

  void personComesOrGoes();
  void idleTimeIsOver();
  void fallAsleep(const char* why);
  void wakeUp(const char* by);
  void fireWakeEvent(std::size_t index);
  void changeCrontab();
  void failOrRecover(Part& part, const char* name);
  void addForeignEvent();

  Random random_;
  Timer timer_;
  Judge& judge_;
  Moment now_, end_;
  bool awake_ = true;
  milliseconds awakeFor_{};  ///< in all: what a monotonic clock shows
  bool personIsThere_ = true;
  Moment personComesOrGoesAt_, crontabChangesAt_;
  Moment idleTimeIsOverAt_ = Moment::max(), wakesAt_ = Moment::max();  ///< max() for never

  ToolState tool_ = ToolState::stopped;
  bool programRuns_ = false;     ///< and the tool waits for it, or is itself being loaded
  milliseconds timerElapses_{};  ///< on the monotonic clock
  Moment tick_;                  ///< the next one of the calendar timer

  std::shared_ptr<const Crontab> crontab_;
  MinuteRecord before_, record_;  ///< of the last minute and of this one
};

}  // namespace zt::simulation
