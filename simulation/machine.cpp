#include "machine.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace zt::simulation {

using namespace std::chrono_literals;
using std::chrono::days;
using std::chrono::floor;

/// How long the tool may wait for a program before it kills it. Whatever is lost after that is missed.
constexpr milliseconds mostForHung = 30s;
/// After which `arm` is killed.
constexpr milliseconds armLimit = 5s;
/// How often it looks again whether the event is set, once it has set it.
constexpr milliseconds armPeriod = 25ms;
/// How often it reads the crontab again.
constexpr milliseconds armReadingPeriod = 500ms;

Machine::Machine(Random random, Options options, Judge& judge, MachineJournal& journal, const TimeZone& zone)
    : random_(random),
      options_(std::move(options)),
      judge_(judge),
      journal_(journal),
      start_(std::chrono::sys_days{std::chrono::year{2026} / 1 / 1} + random_.between(0ms, days{3650})),
      now_(start_),
      end_(now_ + days{365}),
      zone_(&zone),
      lingers_(random_.oneIn(2)),
      agentIsOld_(random_.oneIn(10)),
      tick_(floor<minutes>(now_)),
      crontab_(std::make_shared<Crontab>(Crontab::draw(random_))) {
  personComesOrGoesAt_ = random_.oneIn(25) ? never : now_;  // some machines are always on
  for (std::size_t fault = 0; fault < faultCount; ++fault) drawFault(fault);
  for (auto left = random_.below(3); left > 0; --left) addForeignEvent();
  judge_.beginPeriod(clock());
  record(JournalEvent::other);
  record(JournalEvent::timerStarts);
  record(JournalEvent::managerStarts);
}

bool Machine::untilStart() {
  if (journal_.isLarge() && clockIsRightAt_ == never) changeWhatIsDue();
  while (now_ < end_) {
    const bool isRequested = tool_ == ToolState::starting;
    const Moment start = stopped() ? never : std::max(managerAnswersAt_, isRequested ? now_ : timerElapsesAt());
    if (start <= now_) {
      if (!isRequested) tick_ = floor<minutes>(now_) + 1min;
      tool_ = ToolState::running;
      note("the tool is started");
      ++runs_;
      record(JournalEvent::runBegins);
      release(When::runBegins, 12s);
      return true;
    }
    advance(start);
  }
  if (!stopped()) changeWhatIsDue();  // nobody asks a machine that is off
  return false;
}

void Machine::toolEnds() {
  tool_ = ToolState::ending;
  wait(2ms);
  note("the tool has ended");
  record(JournalEvent::runEnds);
  toolIsGone();
}

void Machine::toolIsGone() {
  tool_ = ToolState::stopped;
  isAskedFor_ = isKilled_ = isWaiting_ = assertionHeld = false;
  timerElapses_ = awakeFor_ + 60s + random_.between(0ms, 999ms);
}

Moment Machine::timerElapsesAt() const {
  return std::max(now_, options_.calendarTimer ? tick_ : now_ + (timerElapses_ - awakeFor_));
}

std::optional<Cause> Machine::stopped() const {
  if (power_ == Power::asleep && managerRuns_) return arming_;
  if (power_ != Power::on || !managerRuns_) return Cause::off;
  return std::nullopt;
}

void Machine::requestStart() {
  judge_.startIsRequested(tool_);
  // Until the process of a run has ended, the service manager takes a request for a start as fulfilled by that run.
  if (tool_ == ToolState::stopped) tool_ = ToolState::starting;
}

void Machine::stopManager() {
  managerRuns_ = false;
  judge_.disturb(Cause::off);
  std::erase_if(wakeEvents, [](const auto& event) { return event.ours; });
  if (nextStep_) arming_ = Cause::off;
  if (tool_ == ToolState::starting) {
    toolIsGone();
  } else {
    isKilled_ = tool_ != ToolState::stopped;
  }
}

void Machine::endManager() {
  stopManager();
  record(JournalEvent::timerStops);
  if (isKilled_) record(JournalEvent::runFails, "ztbackupbytime.service: Failed with result 'signal'.");
  record(JournalEvent::managerStops);
}

void Machine::startManager() {
  managerStartsAt_ = never;
  managerRuns_ = true;
  note("the service manager starts");
  record(JournalEvent::timerStarts);
  record(JournalEvent::managerStarts);
  startByHand();  // the timer wants its service
}

void Machine::work(milliseconds duration) {
  const bool isSlow = duration >= 1s;
  if (isSlow) judge_.disturb(Cause::heldUp);
  const auto excused = std::min(duration, mostForHung);
  isWaiting_ = true;
  wait(excused);
  isWaiting_ = false;
  wait(duration - excused);
  if (isSlow) judge_.programEnds();
}

void Machine::wait(milliseconds duration) {
  for (const auto over = awakeFor_ + duration; awakeFor_ < over || power_ != Power::on;) {
    advance(power_ == Power::on ? now_ + (over - awakeFor_) : never);
    if (isKilled_) throw Killed{};
  }
}

bool Machine::sleepFor(seconds duration) {
  const Moment end = now_ + duration;
  sleepIsOver_ = false;
  do {
    while ((now_ < end && !sleepIsOver_) || power_ != Power::on) {
      advance(power_ == Power::on ? end : never);
      if (isKilled_) throw Killed{};
    }
  } while (advance(now_));  // a wake event that was overdue when the machine woke comes in this sleep, not after it
  if (isKilled_) throw Killed{};
  if (sleepIsOver_) judge_.startIsRequested(tool_);  // to look at what the clock shows now
  return now_ >= end;
}

Machine::Program Machine::launch(std::initializer_list<Part> parts, milliseconds limit) {
  bool works = true;
  bool hangs = false;
  for (const auto part : parts) {
    const State now = state(part);
    works = works && now != State::fails && now != State::isMissing;
    hangs = hangs || now == State::hangs || (now == State::hangsAtTimes && random_.oneIn(2));
  }
  const auto duration = programDuration();
  hangs = hangs || duration > limit;
  return {hangs ? limit : duration, hangs, works && !hangs};
}

milliseconds Machine::programDuration() {
  if (random_.oneIn(5'000)) return random_.between(20s, 90s);
  if (random_.oneIn(200)) return random_.between(1s, 8s);
  if (random_.oneIn(50)) return random_.between(50ms, 1s);
  return random_.between(1ms, 20ms);
}

bool Machine::advance(Moment target) {
  void (Machine::*happens)() = nullptr;
  const auto consider = [&](Moment moment, void (Machine::*what)()) {
    if (moment > target) return;
    target = std::max(moment, now_);
    happens = what;
  };
  consider(pending_[nextFault_].at, &Machine::faultHappens);
  consider(personComesOrGoesAt_, &Machine::personComesOrGoes);
  if (power_ == Power::on) {
    consider(idleTimeIsOverAt_, &Machine::idleTimeIsOver);
    consider(continuesAt_, &Machine::continueToSleep);
    consider(managerStartsAt_, &Machine::startManager);
    consider(clockIsRightAt_, &Machine::setClockRight);
    if (!wakeEvents.empty())
      consider(std::max(firstEvent()->at - clockError_, managerAnswersAt_), &Machine::firstEventComes);
  } else if (power_ == Power::off) {
    consider(powerReturnsAt_, &Machine::returnPower);
  } else {
    consider(wakesAt_, &Machine::clockWakes);
  }
  passTo(target);
  if (happens != nullptr) (this->*happens)();
  return happens != nullptr;
}

void Machine::passTo(Moment moment) {
  while (now_ < moment) {
    const Minute minute = floor<minutes>(clock());
    Moment next = std::min(moment, Moment{minute + 1min} - clockError_);
    if (now_ < managerAnswersAt_) next = std::min(next, managerAnswersAt_);
    const bool isAwake = power_ == Power::on;
    if (isAwake) awakeFor_ += next - now_;
    if (isAwake && !isWaiting_ && now_ >= managerAnswersAt_) judge_.timePasses(next - now_);
    now_ = next;
    if (clock() == minute + 1min) {
      judge_.minuteEnds(minute, *zone_, *crontab_, isAwake, false);
      judge_.minuteBegins(stopped());
      if (isAwake && minute.time_since_epoch() % 1h == 16min) record(JournalEvent::other);  // cron
    }
  }
}

void Machine::personComesOrGoes() {
  personIsThere_ = !personIsThere_;
  if (personIsThere_) {
    if (power_ == Power::asleep || power_ == Power::hibernating) wakeUp("its person");
    personComesOrGoesAt_ = now_ + (random_.oneIn(3) ? random_.between(2s, 3min) : random_.about(15min));
    idleTimeIsOverAt_ = never;
    return;
  }
  personComesOrGoesAt_ = now_ + (random_.oneIn(4) ? random_.between(1s, 2min) : random_.about(5h));
  lidIsClosed_ = random_.oneIn(2);
  if (lidIsClosed_) return requestSleep("its lid is closed");
  idleTimeIsOverAt_ = now_ + random_.between(1min, 10min);
}

void Machine::idleTimeIsOver() {
  if (assertionHeld && !lidIsClosed_) {
    idleTimeIsOverAt_ = now_ + random_.between(1s, 30s);
  } else {
    requestSleep(lidIsClosed_ ? "its lid is still closed" : "it is idle");
  }
}

void Machine::requestSleep(const char* why) {
  idleTimeIsOverAt_ = never;
  if (power_ != Power::on || nextStep_) return;
  note(std::string("the machine is to sleep: ") + why);
  continueIn(random_.between(10ms, 300ms), [this] { runArm(); });
}

void Machine::runArm() {
  const auto program = launch({Part::arm, Part::crontab, Part::manager, Part::setting}, armLimit);
  const bool isRefused = state(Part::manager) != State::works || state(Part::setting) != State::works;
  const auto outcome = !managerRuns_                  ? Cause::off
                       : program.works && isOn("arm") ? Cause::nothing
                       : isRefused                    ? Cause::refused
                                                      : Cause::armFailed;
  readForArm();
  arming_ = outcome;
  if (managerRuns_ && isOn("arm")) record(JournalEvent::sleepIsPrepared);
  continueIn(program.duration + random_.between(50ms, 300ms), [this] {
    asleepAt_ = now_ + random_.between(100ms, 2s);
    untilAsleep();
  });
}

void Machine::readForArm() {
  readForArmAt_ = now_;
  armsFor_ = crontab_->next(floor<minutes>(clock()) + 1min, *zone_);
  armIsOvertaken_ = false;
}

void Machine::untilAsleep() {
  if (arming_ == Cause::nothing && armsFor_ > clock()) addWakeEvent(*armsFor_, true);
  continueIn(std::min(armPeriod, asleepAt_ - now_), [this] {
    const bool canSet = state(Part::manager) == State::works && state(Part::setting) == State::works;
    if (now_ < asleepAt_) {
      if (arming_ == Cause::cancelled && canSet) arming_ = Cause::nothing;
      if (now_ - readForArmAt_ >= armReadingPeriod) readForArm();
      return untilAsleep();
    }
    if (arming_ == Cause::nothing && (armIsOvertaken_ || (armsFor_ && *armsFor_ <= clock())))
      arming_ = Cause::overtaken;
    fallAsleep();
  });
}

void Machine::continueIn(milliseconds delay, std::function<void()> step) {
  continuesAt_ = now_ + delay;
  nextStep_ = std::move(step);
}

void Machine::continueToSleep() {
  continuesAt_ = never;
  std::exchange(nextStep_, nullptr)();
}

void Machine::fallAsleep() {
  note("the machine falls asleep");
  record(JournalEvent::sleepBegins);
  judge_.disturb(Cause::notAwake);
  idleTimeIsOverAt_ = wakesAt_ = never;
  if (std::exchange(hibernatesNext_, false)) {
    power_ = Power::hibernating;
    personIsThere_ = false;
    personComesOrGoesAt_ = now_ + random_.about(days{1});
    return;
  }
  power_ = Power::asleep;
  if (!wakeEvents.empty()) wakesAt_ = firstEvent()->at - clockError_;
  // The clock may ring up to a second early, and waking takes a while.
  const Moment soonest = now_ + random_.between(500ms, 4s);
  if (wakesAt_ != never) wakesAt_ = std::max(wakesAt_ + random_.between(-1s, 5s), soonest);
  if (personIsThere_) wakesAt_ = soonest;  // who has come back meanwhile
}

void Machine::wakeUp(const char* by) {
  note(std::string("the machine is woken by ") + by);
  power_ = Power::on;
  record(JournalEvent::other);
  wakesAt_ = never;
  judge_.disturb(Cause::notAwake);
  release(When::afterWake, 60s);
  if (!personIsThere_) idleTimeIsOverAt_ = now_ + random_.between(5s, 2min);
}

void Machine::record(JournalEvent event, const std::string& text) {
  const bool isTools = event == JournalEvent::message || event == JournalEvent::output;
  journal_.write({.event = event,
                  .time = clock(),
                  .awake = awakeFor_ - awakeAtBoot_,
                  .boot = std::to_string(boots_),
                  .process = isTools ? std::to_string(runs_) : "1",
                  .text = text});
}

void Machine::changeWhatIsDue() {
  const bool isRight = clockIsRightAt_ == never;
  if (isRight) judge_.compareHistory(journal_, clock(), *crontab_, *zone_);
  judge_.beginPeriod(isRight ? std::optional(clock()) : std::nullopt);
  journal_.vacuum();
}

std::vector<Machine::WakeEvent>::const_iterator Machine::firstEvent() const {
  return std::ranges::min_element(wakeEvents, {}, &WakeEvent::at);
}

void Machine::firstEventComes() {
  const WakeEvent event = *firstEvent();
  wakeEvents.erase(firstEvent());
  if (!event.ours) {
    note("another program's wake event");
    addForeignEvent();
    return;
  }
  note("our wake event of " + event.when);
  requestStart();
}

void Machine::addForeignEvent() {
  const Moment at = floor<minutes>(clock() + random_.about(days{2})) + 1min;
  wakeEvents.push_back({at, shown(at, *zone_), false});
}

void Machine::setWakeEvent(const std::string& time) {
  // The first instant to come at which the clock shows that time: with one of the offsets of the hours around it.
  std::array<unsigned, 5> fields{};
  const char* next = time.data();
  for (auto& field : fields) next = std::from_chars(next, time.data() + time.size(), field).ptr + 1;
  const auto& [month, day, year, hour, minute] = fields;
  const auto date = std::chrono::year{static_cast<int>(year)} / std::chrono::month{month} / std::chrono::day{day};
  const Moment asUtc = std::chrono::sys_days{date} + std::chrono::hours{hour} + minutes{minute};
  const auto offsetAt = [&](Moment moment) { return zone_->offset(floor<minutes>(moment)); };
  std::optional<Moment> at;
  for (auto distance = -15h; distance <= 15h; distance += 1h) {
    const Moment candidate = asUtc - offsetAt(asUtc + distance);
    if (candidate > clock() && (!at || candidate < *at) && candidate + offsetAt(candidate) == asUtc) at = candidate;
  }
  if (at) {
    addWakeEvent(*at, false);
  } else {
    note("the agent sets no event: that time has passed");
  }
}

void Machine::addWakeEvent(Moment at, bool byArm) {
  const auto same = std::ranges::find_if(wakeEvents, [&](const auto& event) { return event.ours && event.at == at; });
  if (at == armsFor_ && arming_ == Cause::cancelled) arming_ = Cause::nothing;
  if (same == wakeEvents.end()) {
    wakeEvents.push_back({at, shown(at, *zone_), true, agentIsOld_, byArm});
  } else if (!byArm) {
    same->unlisted = false;
  }
}

void Machine::cancelWakeEvent(const std::string& time) {
  std::erase_if(wakeEvents, [&](const auto& event) {
    const bool isCancelled = event.ours && event.when == time;
    if (isCancelled && event.at == armsFor_ && arming_ == Cause::nothing) arming_ = Cause::cancelled;
    return isCancelled;
  });
}

}  // namespace zt::simulation
