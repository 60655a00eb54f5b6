// What goes wrong on the simulated machines.

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "machine.h"
#include "support/zone.h"

namespace zt::simulation {

using namespace std::chrono_literals;
using std::chrono::days;

/// Each group can be left out (--without). The hours are the average time between two of a kind. A failure lasts for 20
/// minutes on average, a hang sometimes for hours. An incident needs a machine that is awake, apart from a power cut
/// and the order to hibernate: one whose time comes in sleep does not happen, unless it is among the half that wait.
constexpr std::array<Machine::Fault, Machine::faultCount> Machine::faults = {{
    {"clock", "the clock is stepped by seconds", 30h, Incident{&Machine::stepClock, When::afterWake}},
    {"clock", "the clock is set wrong by minutes or hours", 300h, Incident{&Machine::setClockWrong, When::runBegins}},

    {"zone", "the time zone is changed", 300h, Incident{&Machine::changeZone, When::runBegins}},

    {"power", "the power is cut", 400h, Incident{&Machine::cutPower, When::runBegins}},
    {"power", "the machine hibernates the next time", 3000h, Incident{&Machine::hibernate}},

    {"kills", "the tool is killed", 150h, Incident{&Machine::killTool, When::runBegins}},
    {"kills", "crontab is killed", 600h, Failure{Part::crontab, State::fails}},
    {"kills", "bash is killed", 600h, Failure{Part::bash, State::fails}},

    {"people", "the tool is started by hand", 150h, Incident{&Machine::startByHand, When::afterCopy}},
    {"people", "the timer is restarted", 300h, Incident{&Machine::restartTimer, When::afterCopy}},
    {"people", "the service manager is reloaded", 100h, Incident{&Machine::reloadManager, When::runBegins}},
    {"people", "the service manager is restarted", 400h, Incident{&Machine::restartManager, When::afterCopy}},
    {"people", "everybody logs out", 300h, Incident{&Machine::logOut, When::runBegins}},
    {"people", "the crontab is replaced", 24h, Incident{&Machine::changeCrontab, When::runBegins}},
    {"people", "the tool and its agent are upgraded", 2000h, Incident{&Machine::upgrade, When::runBegins}},

    {"failures", "the inhibitor fails", 60h, Failure{Part::inhibitor, State::fails}},
    {"failures", "the listing fails", 200h, Failure{Part::listing, State::fails}},
    {"failures", "the agent fails", 300h, Failure{Part::agent, State::fails}},
    {"failures", "the agent is missing", 300h, Failure{Part::agent, State::isMissing}},
    {"failures", "arm fails", 200h, Failure{Part::arm, State::fails}},
    {"failures", "no wake event can be set", 600h, Failure{Part::setting, State::fails}},

    {"hangs", "the bus hangs", 200h, Failure{Part::inhibitor, State::hangs}},
    {"hangs", "the listing hangs", 300h, Failure{Part::listing, State::hangs}},
    {"hangs", "the agent hangs", 600h, Failure{Part::agent, State::hangs}},
    {"hangs", "arm hangs", 600h, Failure{Part::arm, State::hangs}},
    {"hangs", "the service manager hangs", 600h, Failure{Part::manager, State::hangs}},
    {"hangs", "setting a wake event hangs", 600h, Failure{Part::setting, State::hangs}},
    {"hangs", "cancelling a wake event hangs", 600h, Failure{Part::cancelling, State::hangs}},
    {"hangs", "crontab hangs", 600h, Failure{Part::crontab, State::hangs}},
    {"hangs", "bash hangs", 900h, Failure{Part::bash, State::hangs}},
    {"hangs", "bash hangs at times", 900h, Failure{Part::bash, State::hangsAtTimes}},
}};

bool Machine::isGroup(std::string_view name) {
  static_assert(faults.back().every > 0h, "faultCount is not their number");
  return std::ranges::find(faults, name, &Fault::group) != faults.end();
}

void Machine::drawFault(std::size_t index) {
  const auto& fault = faults.at(index);
  setFaultAt(index, isOn(fault.group) ? now_ + random_.about(fault.every) : never);
}

void Machine::setFaultAt(std::size_t index, Moment at) {
  pending_.at(index).at = at;
  nextFault_ = static_cast<std::size_t>(std::ranges::min_element(pending_, {}, &Pending::at) - pending_.begin());
}

void Machine::release(When when, milliseconds within) {
  for (std::size_t i = 0; i < faultCount; ++i) {
    const auto* incident = std::get_if<Incident>(&faults.at(i).effect);
    if (!pending_.at(i).isHeld || incident == nullptr || incident->when != when) continue;
    setFaultAt(i, now_ + random_.between(0ms, random_.oneIn(2) ? within / 40 : within));
  }
}

void Machine::faultHappens() {
  const auto index = nextFault_;
  const auto& [group, what, every, effect] = faults.at(index);
  auto& pending = pending_.at(index);
  if (const auto* failure = std::get_if<Failure>(&effect)) return failOrRecover(*failure, index);
  const auto& [happens, when] = std::get<Incident>(effect);
  if (when != When::anyTime && !pending.isHeld && random_.oneIn(2)) {
    pending.isHeld = true;
    return setFaultAt(index, never);
  }
  pending.isHeld = false;
  drawFault(index);
  const bool canHappen = power_ == Power::on || happens == &Machine::hibernate ||
                         (power_ == Power::asleep && happens == &Machine::cutPower);
  if (!canHappen) return;
  note(what);
  (this->*happens)();
}

void Machine::failOrRecover(const Failure& failure, std::size_t index) {
  auto& pending = pending_.at(index);
  auto& state = states_.at(static_cast<std::size_t>(failure.part));
  const bool recovers = pending.hasBegun;
  if (!recovers && state != State::works) return drawFault(index);  // one failure at a time
  note(std::string(recovers ? "no longer: " : "from now on: ") + faults.at(index).what);
  state = recovers ? State::works : failure.state;
  pending.hasBegun = !recovers;
  if (recovers) {
    drawFault(index);
  } else {
    const bool hangs = state == State::hangs || state == State::hangsAtTimes;
    setFaultAt(index, now_ + random_.about(hangs && random_.oneIn(3) ? 6h : 20min));
  }
}

void Machine::stepClock() {
  if (clockIsRightAt_ == never) setClock(random_.between(-5s, 5s));
}

void Machine::setClockWrong() {
  const auto error = random_.oneIn(2) ? random_.between(1min, 10min) : random_.between(10min, 3h);
  setClock(random_.oneIn(2) ? error : -error);
  clockIsRightAt_ = now_ + (random_.oneIn(2) ? random_.between(10s, 10min) : random_.about(3h));
}

void Machine::setClockRight() {
  clockIsRightAt_ = never;
  setClock(random_.between(-3s, 3s));
  judge_.continuePeriod(clock());
}

void Machine::setClock(milliseconds error) {
  const Moment before = clock();
  const Minute minute = floor<minutes>(before);
  const Minute next = floor<minutes>(before + (error - clockError_));
  judge_.disturb(Cause::clockSet);
  // Within a minute, all that matters is how long it lasts.
  if (next != minute) judge_.minuteEnds(minute, *zone_, *crontab_, false, next < minute);
  if (error < clockError_) judge_.clockIsSetBack();
  sleepIsOver_ = sleepIsOver_ || error > clockError_;
  clockError_ = error;
  if (next != minute) judge_.minuteBegins(stopped());
  armIsOvertaken_ = true;
  note("which is the time now");
  if (power_ == Power::on) record(JournalEvent::other);
}

void Machine::changeZone() {
  changeWhatIsDue();
  zone_ = &TimeZone::named(random_.pick(zoneNames));
  // The tool's C library takes it from there, at its next tzset(3).
  ::setenv("TZ", zone_->name(), 1);
  for (auto& event : wakeEvents) {
    if (!event.isOld) event.when = shown(event.at, *zone_);
  }
  judge_.disturb(Cause::clockSet, true);
  armIsOvertaken_ = true;
  note(zone_->name());
}

void Machine::cutPower() {
  if (managerRuns_) stopManager();
  power_ = Power::off;
  idleTimeIsOverAt_ = wakesAt_ = continuesAt_ = managerStartsAt_ = never;
  nextStep_ = nullptr;
  powerReturnsAt_ = now_ + (random_.oneIn(8) ? random_.about(days{1}) : random_.between(10s, 30min));
}

void Machine::returnPower() {
  powerReturnsAt_ = never;
  power_ = Power::on;
  ++boots_;
  awakeAtBoot_ = awakeFor_;
  if (!personIsThere_) idleTimeIsOverAt_ = now_ + random_.between(5min, 20min);
  note("the machine is switched on");
  if (isOn("clock") && random_.oneIn(3)) {
    setClock(random_.pick(std::to_array<milliseconds>({-1h, 1h, -days{365}, days{365}})));
    clockIsRightAt_ = now_ + random_.between(5s, 10min);  // when the network is there
  }
  record(JournalEvent::other);
  managerStartsAt_ = now_ + (lingers_ ? random_.between(2s, 20s) : random_.between(10s, 10min));
}

void Machine::killTool() {
  isKilled_ = tool_ == ToolState::running;
}

void Machine::upgrade() {
  agentIsOld_ = false;
  reloadManager();
}

void Machine::startByHand() {
  if (!managerRuns_ || tool_ != ToolState::stopped) return;  // otherwise it joins the run under way
  isAskedFor_ = true;
  requestStart();
}

void Machine::restartTimer() {
  if (managerRuns_) record(JournalEvent::timerStops);
  if (managerRuns_) record(JournalEvent::timerStarts);
  startByHand();
}

void Machine::reloadManager() {
  managerAnswersAt_ = now_ + random_.between(50ms, 3s);
}

void Machine::restartManager() {
  if (!managerRuns_) return;
  endManager();
  managerStartsAt_ = now_ + random_.between(200ms, 3s);
}

void Machine::logOut() {
  if (lingers_ || !managerRuns_) return;
  endManager();
  managerStartsAt_ = now_ + (random_.oneIn(4) ? random_.about(8h) : random_.between(15s, 5min));
}

void Machine::changeCrontab() {
  changeWhatIsDue();
  record(JournalEvent::crontabChanges);
  crontab_ = std::make_shared<Crontab>(Crontab::draw(random_));
  judge_.disturb(Cause::newCrontab, true);
  armIsOvertaken_ = true;
}

}  // namespace zt::simulation
