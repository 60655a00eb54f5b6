#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "crontab.h"
#include "local_time.h"

namespace zt::simulation {

/// What has come of the minutes that were due: each counts once for every schedule that fires in it.
struct Figures {
  std::int64_t machineYears = 0, runs = 0;
  std::int64_t due = 0, startedOnce = 0, late = 0;
  std::int64_t missed = 0, doubled = 0, early = 0;
  std::int64_t other = 0;  ///< violations that are none of these three
  // Lost, and not by a fault of the tool: see Judge::minuteEnds().
  std::int64_t asleepInRun = 0, asleepUnset = 0, awakeTooShort = 0, heldUp = 0, ending = 0;

  std::int64_t violations() const { return missed + doubled + early + other; }
};

/// What the machine did in one minute, as far as it matters to what the tool could do in it.
struct MinuteRecord {
  enum class Event { none, startedTool, whileToolRan, whileToolEnded };

  milliseconds awake{};
  milliseconds free{};            ///< since it last woke, and the tool did not wait for a program that it had started
  milliseconds freeSinceEvent{};  ///< that, after a wake event of ours
  Event event = Event::none;      ///< the last one of ours
  bool crontabChanged = false;
  bool served = false;  ///< the tool looked at what is due in it
};

/// The wake events of ours, and whether the tool was hindered in setting them in this run.
struct OwnWakeEvents {
  std::vector<Moment> armed;
  bool agentWorked = true;
  bool listingWorked = true;  ///< otherwise there may be old ones that it could not know of
};

/// Compares what the tool does with what the crontab means.
class Judge {
 public:
  explicit Judge(Figures& figures) : figures_(figures) {}

  /// Keeps what happened for the report on a violation.
  void note(Moment now, std::string_view what);

  void runBegins();
  /// The tool reads the crontab, in a minute that it has chosen to look at.
  void passBegins(Moment now, std::shared_ptr<const Crontab> crontab);
  void sleepAnnounced(std::chrono::seconds duration);
  void toolSleeps(Moment now, std::chrono::seconds duration, const OwnWakeEvents& wakeEvents);
  void copyStarted(Moment now, const std::string& url);
  void runEnds(Moment now, int status, bool assertionHeld, const OwnWakeEvents& wakeEvents);

  /// `minute` is over, and `inForce` is the crontab at its end. What was due and not looked at is missed if
  /// - the machine was awake to its end, and before for long enough to start the tool: 10 seconds for the last wait of
  ///   a run under way, 61 to the next one, and 4 to spare, besides what programs took; and the crontab had stayed the
  ///   same in this minute and the one before; or
  /// - a wake event of ours came in this minute, and the machine was awake long enough then: 3 seconds to start the
  ///   tool, or 12 for the last wait of a run under way, besides what programs took; or
  /// - the machine was asleep, but the last run had ended well, with the crontab that is in force.
  ///
  /// Otherwise it is not the tool that is to blame: the machine was asleep with no event that could wake it, because it
  /// was put to sleep in the middle of a run, or because the event could not be set (a fault), not yet (a new crontab),
  /// or came to nothing (as below); it was awake too short a time; a program held the tool up; or the machine was put
  /// to sleep in the milliseconds in which a run ended, which then swallowed the start that the wake event asked for.
  void minuteEnds(Minute minute, const MinuteRecord& before, const MinuteRecord& record, const Crontab& inForce);

  /// What is not about a copy.
  void otherViolation(const std::string& what);

  /// What the first violation was, and the machine's last minutes before it; empty when there was none.
  const std::string& report() const { return report_; }

 private:
  struct Pass {
    Minute minute;
    std::shared_ptr<const Crontab> crontab;
    std::vector<std::string> started;
    bool slept = false;
  };

  void endPass();
  void compare(const std::vector<std::string>& due, const std::vector<std::string>& started);
  /// Whether what is armed is the next event, as seen from the minute after the one that is looked at.
  void checkArmed(std::optional<Minute> next, const OwnWakeEvents& wakeEvents);
  void tell(const std::string& violation);

  Figures& figures_;
  std::optional<Pass> pass_;
  Minute lastMinute_{};  ///< that a pass has served
  int looks_ = 0;        ///< at what is due in it
  bool running_ = false;
  std::shared_ptr<const Crontab> provided_;  ///< the crontab for which the last run has set what is to be set
  std::optional<std::chrono::seconds> announced_;
  std::array<std::pair<Moment, std::string>, 100> history_;
  std::size_t notes_ = 0;
  std::string report_;
};

}  // namespace zt::simulation
