#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zt::simulation {

/// The last thing that happened on a machine before a copy was lost, if that explains why nobody could make it.
enum class Cause : std::size_t {
  nothing,     ///< the tool is to blame
  armFailed,   ///< the machine slept, and no wake event was set: `arm` had failed or was killed,
  refused,     ///< or the service manager refused to set one,
  cancelled,   ///< or a run cancelled the one that `arm` had set, and has set no other yet,
  overtaken,   ///< or the crontab, the clock or the zone was changed after `arm` had looked at them
  off,         ///< it was off or hibernated, or its user's service manager did not run
  notAwake,    ///< it was not awake long enough
  clockSet,    ///< its clock or its time zone was changed
  newCrontab,  ///< the crontab was changed
  killed,      ///< the tool was killed
  heldUp,      ///< a program, or the service manager, was slow, hung or killed
  ending,      ///< the wake event came in the milliseconds in which a run ended, which swallowed the start
};
constexpr std::array causeNames = {"missed",
                                   "asleep, arm had failed",
                                   "asleep, the service manager had refused",
                                   "asleep, a run had cancelled arm's event",
                                   "asleep, arm was overtaken",
                                   "switched off, hibernating, or nobody logged in",
                                   "not awake long enough",
                                   "the clock or the time zone was changed",
                                   "the crontab was changed",
                                   "the tool was killed",
                                   "held up by a program",
                                   "the wake event came as a run ended"};

/// What became of the copies that were due: one for every minute that the clock showed and every schedule that fires
/// in it.
struct Figures {
  std::int64_t machineYears = 0, runs = 0;
  std::int64_t due = 0, startedOnce = 0, late = 0;
  std::int64_t doubled = 0, early = 0;
  std::int64_t other = 0;                              ///< violations other than these, and missed copies
  std::array<std::int64_t, causeNames.size()> lost{};  ///< by cause
  // Started again in a minute that another run had served. The tool has no memory, so it cannot know.
  std::int64_t askedFor = 0;    ///< by somebody who started the tool, its timer or the service manager
  std::int64_t shownAgain = 0;  ///< by a clock that had been set back

  // What the history has told about the copies.
  std::int64_t toldRight = 0, toldWrong = 0;
  std::int64_t hidden = 0;  ///< the clock had been wrong too often to find them in the journal
  struct Reasons {
    std::int64_t number = 0, likeJudge = 0;
  };
  std::array<Reasons, causeNames.size()> reasons{};  ///< of copies that were not started, by the judge's cause

  std::int64_t& lostTo(Cause cause) { return lost.at(static_cast<std::size_t>(cause)); }
  std::int64_t missed() const { return lost.front(); }
  std::int64_t violations() const { return missed() + doubled + early + other + toldWrong; }
  bool isReported = false;  ///< the first of them
};

}  // namespace zt::simulation
