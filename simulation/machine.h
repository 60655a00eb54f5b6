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
  calendar       ///< at each full minute; a tick that passes during a run starts the next one when that has ended
};

/// One machine: its clock, its sleep, the person who uses it, its service manager, its wake events and its faults.
/// Time passes in work(), sleepUntil() and untilStart() only, and meanwhile the rest of the machine does what it does.
class Machine {
 public:
  struct WakeEvent {
    Moment at;
    std::string when;  ///< the same as the listing shows it, local
    bool ours;
  };

  Machine(Random random, Timer timer, Judge& judge);

  /// The service manager waits until it has to start the tool. False when the year is over.
  bool untilStart();
  /// The tool has done its work; the last of it is gone milliseconds later.
  void toolEnds();

  /// A program takes its time: seconds that the machine is asleep do not count.
  void work(milliseconds duration);
  /// Sleep to a moment; it may be over while the machine is asleep, and ends then when the machine wakes.
  void sleepUntil(Moment moment);

  Moment now() const { return now_; }
  Random& random() { return random_; }
  void note(std::string_view what) { judge_.note(now_, what); }

  /// The crontab in force. Whoever reads it looks for what is due in this minute.
  std::shared_ptr<const Crontab> readCrontab();
  /// Of every program. Now and then it hangs for a while.
  milliseconds programDuration();

  bool inhibitorWorks() const { return !inhibitor_.failing; }
  bool listingWorks() const { return !listing_.failing; }
  bool agentWorks() const { return !agent_.failing; }
  /// Whether a failing agent is missing, or there and of no use.
  bool agentIsMissing() const { return agentIsMissing_; }

  /// Does what the agent does when it is asked to set an event at month/day/year hour:minute:00.
  void setWakeEvent(const std::string& time);
  std::vector<Moment> ownWakeEvents() const;

  bool assertionHeld = false;
  std::vector<WakeEvent> wakeEvents;  ///< all that are armed, whoever set them

 private:
  struct Fault {
    milliseconds typical;  ///< how long it goes well
    bool failing = false;
    Moment changesAt{};
  };

  /// Lets time pass until the next thing happens on the machine, but not beyond `target`. Gives whether it has
  /// happened.
  bool hop(Moment target);
  void passTo(Moment moment);
  Moment timerElapsesAt() const;

  void personComesOrGoes();
  void idleFor(milliseconds duration);
  void idleTimeIsOver();
  void fallAsleep(const char* why);
  void wakeUp(const char* why);
  void comeDue(std::size_t wakeEvent);
  void changeCrontab();
  void change(Fault& fault, const char* name);
  void addForeignEvent();

  Random random_;
  Timer timer_;
  Judge& judge_;
  Moment now_, end_;
  milliseconds awakeFor_{};  ///< in all: what a monotonic clock shows
  bool awake_ = true;
  bool personIsThere_ = true;
  Moment personComesOrGoesAt_, idleTimeIsOverAt_, wakesAt_, crontabChangesAt_;
  Fault inhibitor_{std::chrono::hours{60}}, listing_{std::chrono::hours{90}}, agent_{std::chrono::hours{90}};
  bool agentIsMissing_ = false;

  bool toolRuns_ = false, toolIsEnding_ = false, programRuns_ = false, startIsAsked_ = false;
  milliseconds timerElapses_{};  ///< on the monotonic clock
  Moment tick_;                  ///< of the calendar timer

  std::shared_ptr<const Crontab> crontab_;
  MinuteRecord before_, record_;
};

}  // namespace zt::simulation
