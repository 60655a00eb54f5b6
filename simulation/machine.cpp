#include "machine.h"

#include <algorithm>
#include <utility>

namespace zt::simulation {

using namespace std::chrono_literals;
using std::chrono::days;
using std::chrono::floor;
using std::chrono::minutes;

/// How the listing writes a time.
constexpr auto* listingFormat = "%m/%d/%Y %H:%M:%S";
/// After which `arm` is killed.
constexpr milliseconds armLimit = 5s;
/// How often it looks again whether the event is set, once it has set it.
constexpr milliseconds armPeriod = 25ms;
/// How often it reads the crontab again.
constexpr milliseconds armReadingPeriod = 500ms;

Machine::Machine(Random random, const Options& options, Judge& judge)
    : random_(random),
      options_(options),
      judge_(judge),
      now_(std::chrono::sys_days{std::chrono::year{2026} / 1 / 1} + random_.between(0ms, days{3650})),
      end_(now_ + days{365}),
      tick_(floor<minutes>(now_)),
      crontab_(std::make_shared<Crontab>(Crontab::draw(random_))) {
  personComesOrGoesAt_ = random_.oneIn(25) ? Moment::max() : now_;  // some machines are always on
  crontabChangesAt_ = now_ + random_.about(days{1});
  for (auto* part : parts_) {
    if (options.noHangs) {
      std::erase_if(part->failures, [](State state) { return state == State::hangs || state == State::hangsAtTimes; });
    }
    part->changesAt = part->failures.empty() ? Moment::max() : now_ + random_.about(part->meanTimeToFailure);
  }
  for (auto left = random_.below(3); left > 0; --left) addForeignEvent();
}

bool Machine::untilStart() {
  while (now_ < end_) {
    const bool isRequested = tool_ == ToolState::starting;
    if (awake_ && (isRequested || now_ >= timerElapsesAt())) {
      if (!isRequested) tick_ = floor<minutes>(now_) + 1min;
      tool_ = ToolState::running;
      note("the tool is started");
      return true;
    }
    advance(awake_ ? timerElapsesAt() : Moment::max());
  }
  return false;
}

void Machine::toolEnds() {
  tool_ = ToolState::ending;
  work(2ms);
  note("the tool has ended");
  tool_ = ToolState::stopped;
  timerElapses_ = awakeFor_ + 60s + random_.between(0ms, 999ms);
}

Moment Machine::timerElapsesAt() const {
  return std::max(now_, options_.calendarTimer ? tick_ : now_ + (timerElapses_ - awakeFor_));
}

void Machine::work(milliseconds duration, Waiting waiting) {
  const auto excused = waiting == Waiting::forProgram ? duration : std::min(duration, mostForHung);
  wait(excused, waiting);
  wait(duration - excused, Waiting::no);
  if (waiting != Waiting::forProgram) note("a program hangs and is killed");
}

void Machine::wait(milliseconds duration, Waiting waiting) {
  waiting_ = waiting;
  for (const auto over = awakeFor_ + duration; awakeFor_ < over || !awake_;) {
    advance(awake_ ? now_ + (over - awakeFor_) : Moment::max());
  }
  waiting_ = Waiting::no;
}

void Machine::sleepUntil(Moment moment) {
  do {
    while (now_ < moment || !awake_) advance(awake_ ? moment : Moment::max());
  } while (advance(now_));  // a wake event that was overdue when the machine woke comes in this sleep, not after it
}

std::shared_ptr<const Crontab> Machine::readCrontab() {
  record_.hadPass = true;
  return crontab_;
}

Machine::Program Machine::launch(std::initializer_list<const Part*> parts, milliseconds limit) {
  bool works = true;
  bool hangs = false;
  for (const auto* part : parts) {
    works = works && part->state != State::fails && part->state != State::isMissing;
    hangs = hangs || part->state == State::hangs || (part->state == State::hangsAtTimes && random_.oneIn(2));
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
  std::function<void()> happens;
  const auto consider = [&](Moment moment, auto what) {
    if (moment > target) return;
    target = std::max(moment, now_);
    happens = what;
  };
  consider(personComesOrGoesAt_, [this] { personComesOrGoes(); });
  consider(crontabChangesAt_, [this] { changeCrontab(); });
  for (auto* part : parts_) consider(part->changesAt, [this, part] { failOrRecover(*part); });
  if (awake_) {
    consider(idleTimeIsOverAt_, [this] { idleTimeIsOver(); });
    consider(continuesAt_, [this] {
      continuesAt_ = Moment::max();
      std::exchange(nextStep_, nullptr)();
    });
    for (std::size_t i = 0; i < wakeEvents.size(); ++i) consider(wakeEvents[i].at, [this, i] { fireWakeEvent(i); });
  } else {
    consider(wakesAt_, [this] { wakeUp(personIsThere_ ? "its person" : "its clock"); });
  }
  passTo(target);
  if (happens) happens();
  return happens != nullptr;
}

void Machine::passTo(Moment moment) {
  while (now_ < moment) {
    const Minute minute = floor<minutes>(now_);
    const Moment next = std::min(moment, Moment{minute + 1min});
    if (awake_) {
      awakeFor_ += next - now_;
      record_.awake += next - now_;
      const bool crontabHangs = waiting_ == Waiting::forHungCrontab;
      record_.hung = record_.hung || crontabHangs || waiting_ == Waiting::forHung;
      record_.crontabHung = record_.crontabHung || crontabHangs;
      if (waiting_ != Waiting::forProgram) {
        record_.available += next - now_;
        if (record_.atEvent) record_.availableSinceEvent += next - now_;
        record_.availableSinceHang = waiting_ == Waiting::no ? record_.availableSinceHang + (next - now_) : 0ms;
      }
    }
    now_ = next;
    if (now_ == minute + 1min) {
      judge_.minuteEnds(minute, before_, record_, *crontab_);
      before_ = record_;
      record_ = {};
      if (!awake_) record_.asleepAfter = arming_;
    }
  }
}

void Machine::personComesOrGoes() {
  personIsThere_ = !personIsThere_;
  if (personIsThere_) {
    if (!awake_) wakeUp("its person");
    personComesOrGoesAt_ = now_ + (random_.oneIn(3) ? random_.between(2s, 3min) : random_.about(15min));
    idleTimeIsOverAt_ = Moment::max();
    return;
  }
  personComesOrGoesAt_ = now_ + (random_.oneIn(4) ? random_.between(1s, 2min) : random_.about(5h));
  if (random_.oneIn(2)) {
    idleTimeIsOverAt_ = now_ + random_.between(1min, 10min);
  } else {
    requestSleep("its lid is closed");
  }
}

void Machine::idleTimeIsOver() {
  if (assertionHeld) {
    idleTimeIsOverAt_ = now_ + random_.between(1s, 30s);
  } else {
    requestSleep("it is idle");
  }
}

void Machine::requestSleep(const char* why) {
  idleTimeIsOverAt_ = Moment::max();
  if (!awake_ || nextStep_) return;
  note(std::string("the machine is to sleep: ") + why);
  continueIn(random_.between(10ms, 300ms), [this] { runArm(); });
}

void Machine::runArm() {
  const auto program = launch({&arm, &crontabProgram, &manager, &setting}, armLimit);
  const bool isRefused = manager.state != State::works || setting.state != State::works;
  const auto outcome = program.works && !options_.noArm ? Arming::worked : isRefused ? Arming::refused : Arming::failed;
  readForArm();
  continueIn(program.duration + random_.between(50ms, 300ms), [this, outcome] {
    arming_ = outcome;
    asleepAt_ = now_ + random_.between(100ms, 2s);
    untilAsleep();
  });
}

void Machine::readForArm() {
  readForArmAt_ = now_;
  armsFor_ = crontab_->next(floor<minutes>(now_) + 1min);
  armsCrontab_ = crontab_;
}

void Machine::untilAsleep() {
  if (arming_ == Arming::worked && armsFor_ > now_) addWakeEvent(*armsFor_, true);
  continueIn(std::min(armPeriod, asleepAt_ - now_), [this] {
    const bool worked = arming_ == Arming::worked || arming_ == Arming::cancelled;
    if (now_ < asleepAt_) {
      if (worked) arming_ = Arming::worked;
      if (now_ - readForArmAt_ >= armReadingPeriod) readForArm();
      return untilAsleep();
    }
    const bool isOvertaken = armsCrontab_ != crontab_ || (armsFor_ && *armsFor_ <= now_);
    if (arming_ == Arming::worked && isOvertaken) arming_ = Arming::overtaken;
    fallAsleep();
  });
}

void Machine::continueIn(milliseconds delay, std::function<void()> step) {
  continuesAt_ = now_ + delay;
  nextStep_ = std::move(step);
}

void Machine::fallAsleep() {
  note("the machine falls asleep");
  awake_ = false;
  idleTimeIsOverAt_ = wakesAt_ = Moment::max();
  for (const auto& event : wakeEvents) wakesAt_ = std::min(wakesAt_, event.at);
  // The clock may ring up to a second early, and waking takes a while.
  const Moment soonest = now_ + random_.between(500ms, 4s);
  if (wakesAt_ != Moment::max()) wakesAt_ = std::max(wakesAt_ + random_.between(-1s, 5s), soonest);
  if (personIsThere_) wakesAt_ = soonest;  // who has come back meanwhile
}

void Machine::wakeUp(const char* by) {
  note(std::string("the machine is woken by ") + by);
  awake_ = true;
  wakesAt_ = Moment::max();
  before_.available = record_.available = 0ms;
  if (!personIsThere_) idleTimeIsOverAt_ = now_ + random_.between(5s, 2min);
}

void Machine::fireWakeEvent(std::size_t index) {
  const WakeEvent event = wakeEvents.at(index);
  wakeEvents.erase(wakeEvents.begin() + static_cast<std::ptrdiff_t>(index));
  if (!event.ours) {
    note("another program's wake event");
    addForeignEvent();
    return;
  }
  note("our wake event of " + event.when);
  record_.atEvent = tool_;
  record_.availableSinceEvent = 0s;
  // Until the process of a run has ended, the service manager takes a request for a start as fulfilled by that run.
  if (tool_ == ToolState::stopped) tool_ = ToolState::starting;
}

void Machine::changeCrontab() {
  crontabChangesAt_ = now_ + random_.about(days{1});
  if (!awake_) return;
  note("the crontab is changed");
  crontab_ = std::make_shared<Crontab>(Crontab::draw(random_));
  record_.crontabChanged = true;
}

void Machine::failOrRecover(Part& part) {
  if (part.state == State::works) {
    part.state = random_.pick(part.failures);
    const bool hangs = part.state == State::hangs || part.state == State::hangsAtTimes;
    part.changesAt = now_ + random_.about(hangs && random_.oneIn(3) ? 6h : 20min);
  } else {
    part.state = State::works;
    part.changesAt = now_ + random_.about(part.meanTimeToFailure);
  }
  constexpr std::array states = {" works again", " fails from now on", " is missing from now on", " hangs from now on",
                                 " hangs at times from now on"};
  note(part.name + std::string(states.at(static_cast<std::size_t>(part.state))));
}

void Machine::addForeignEvent() {
  const Moment at = floor<minutes>(now_ + random_.about(days{2})) + 1min;
  wakeEvents.push_back({at, localTime(at, listingFormat), false});
}

void Machine::setWakeEvent(const std::string& time) {
  tm fields{};
  if (::strptime(time.c_str(), "%m/%d/%Y %H:%M:00", &fields) == nullptr) {
    judge_.otherViolation("the agent cannot read " + time);
    return;
  }
  const Moment asUtc{seconds{::timegm(&fields)}};
  const auto offsetAt = [](Moment moment) { return seconds{localFields(moment).tm_gmtoff}; };
  // The first instant to come at which the clock shows that time: with one of the offsets of the hours around it.
  std::optional<Moment> at;
  for (auto distance = -15h; distance <= 15h; distance += 1h) {
    const Moment candidate = asUtc - offsetAt(asUtc + distance);
    if (candidate > now_ && (!at || candidate < *at) && candidate + offsetAt(candidate) == asUtc) at = candidate;
  }
  if (at) {
    addWakeEvent(*at, false);
  } else {
    note("the agent sets no event: that time has passed");
  }
}

void Machine::addWakeEvent(Moment at, bool byArm) {
  const auto same = std::ranges::find_if(wakeEvents, [&](const auto& event) { return event.ours && event.at == at; });
  if (same == wakeEvents.end()) {
    wakeEvents.push_back({at, localTime(at, listingFormat), true, byArm});
  } else if (!byArm) {
    same->unlisted = false;
  }
}

void Machine::cancelWakeEvent(const std::string& time) {
  std::erase_if(wakeEvents, [&](const auto& event) {
    const bool isCancelled = event.ours && event.when == time;
    if (isCancelled && event.at == armsFor_ && arming_ == Arming::worked) arming_ = Arming::cancelled;
    return isCancelled;
  });
}

}  // namespace zt::simulation
