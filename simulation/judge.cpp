#include "judge.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "local_time.h"

namespace zt::simulation {

namespace {

using namespace std::chrono_literals;

// How long the machine has to be available to the tool before it must have made a pass. The time that programs take,
// and that of loading the tool, does not count as available.

/// A run under way may have begun to wait for its end, which takes this long.
constexpr seconds lastWait = 10s;
/// The timer starts the tool 60 seconds after it last ended, and up to a second late.
constexpr seconds untilNextStart = 61s;
/// Without a wake event: a run under way ends, and the timer starts the next one. With a margin of 4 seconds.
constexpr seconds enoughForTimer = lastWait + untilNextStart + 4s;
/// After a wake event that starts the tool: it is started at once. This is all margin.
constexpr seconds enoughToStart = 3s;
/// After a wake event during a run, or after a program that hung: the run makes another pass after its wait. With a
/// margin of 2 seconds.
constexpr seconds enoughForRun = lastWait + 2s;

/// Whether the tool, started by the event or already running then, had time for a pass.
bool eventHadTime(const MinuteRecord& record) {
  return (record.atEvent == ToolState::stopped && record.availableSinceEvent >= enoughToStart) ||
         (record.atEvent == ToolState::running && record.availableSinceEvent >= enoughForRun);
}

std::string text(Moment moment) {
  return localTime(moment, "%F %T %z");
}

}  // namespace

void Judge::note(Moment now, std::string_view what) {
  history_.emplace_back(now, what);
  if (history_.size() > 100) history_.pop_front();
}

void Judge::otherViolation(const std::string& what) {
  ++figures_.other;
  report(what);
}

void Judge::report(const std::string& violation) {
  if (std::exchange(figures_.isReported, true)) return;
  std::cout << machine_ << ": " << violation << "\nWhat happened on the machine before:\n";
  for (const auto& [moment, note] : history_) std::cout << "  " << text(moment) << "  " << note << '\n';
  std::cout << std::endl;
}

void Judge::runBegins() {
  ++figures_.runs;
  passFailed_ = false;
}

void Judge::passBegins(Moment now, std::shared_ptr<const Crontab> crontab) {
  endPass();
  passFailed_ = false;
  armedFor_.reset();
  const auto minute = std::chrono::floor<std::chrono::minutes>(now);
  pass_ = Pass{minute, crontab->dueAt(minute), crontab->next(minute + 1min), std::move(crontab)};
}

void Judge::passFails() {
  endPass();
  passFailed_ = true;
}

void Judge::wordHangs(const std::string& url) {
  if (pass_) pass_->unreadable.push_back(url);
}

void Judge::sleepAnnounced(seconds duration) {
  if (announced_) otherViolation("the tool announced a sleep that did not begin");
  announced_ = duration;
}

void Judge::toolSleeps(Moment now, seconds duration, const OwnWakeEvents& wakeEvents) {
  if (std::exchange(announced_, {}) != duration) {
    otherViolation("the tool did not announce that it sleeps for " + std::to_string(duration.count()) + " s");
  }
  if (!pass_) return;
  pass_->slept = true;
  // The machine may be put to sleep now. Only to serve the next minute may the tool itself sleep without an event.
  const auto& next = pass_->next;
  if (next && *next > pass_->minute + 1min && *next > now) {
    checkArmed(wakeEvents);
    if (wakeEvents.couldSet) armedFor_ = pass_->crontab;
  }
}

void Judge::checkArmed(const OwnWakeEvents& wakeEvents) {
  const auto& [armed, couldSet, couldCancel] = wakeEvents;
  if (!couldSet) return;
  const auto& next = pass_->next;
  const bool isArmed = !next || std::ranges::find(armed, Moment{*next}) != armed.end();
  if (isArmed && (!couldCancel || armed.size() == (next ? 1 : 0))) return;
  std::string what = "wake events armed:";
  for (const auto moment : armed) what.append(" ").append(text(moment));
  otherViolation(what + "; the next schedule fires at: " + (next ? text(*next) : "never"));
}

void Judge::copyStarted(Moment now, const std::string& url) {
  if (!pass_ || pass_->slept) {
    ++figures_.early;
    report(url + " was started outside a pass");
    return;
  }
  pass_->started.push_back(url);
  // Only programs and the machine's own sleep take time within a pass, so a late copy is not the tool's fault.
  if (now >= pass_->minute + 1min) ++figures_.late;
}

void Judge::endPass() {
  if (!pass_) return;
  const auto& minute = pass_->minute;
  const auto& started = pass_->started;
  passesInMinute_ = minute == lastMinute_ ? passesInMinute_ + 1 : 1;
  lastMinute_ = minute;
  if (passesInMinute_ == 1) {
    compare(*pass_);
  } else if (!started.empty()) {
    figures_.doubled += std::ssize(started);
    // compare() has counted them at the first pass.
    if (passesInMinute_ == 2) figures_.startedOnce -= std::ssize(started);
    report("what is due at " + text(minute) + " was started again, by another pass");
  }
  pass_.reset();
}

void Judge::compare(const Pass& pass) {
  auto due = pass.due;
  const auto& started = pass.started;
  figures_.due += std::ssize(due);
  figures_.hung += static_cast<std::int64_t>(
      std::erase_if(due, [&](const auto& url) { return std::ranges::count(pass.unreadable, url) != 0; }));
  if (started == due) {
    figures_.startedOnce += std::ssize(due);
    return;
  }
  const auto violations = figures_.violations();
  for (const auto& url : due) {
    const auto times = std::ranges::count(started, url);
    ++(times == 0 ? figures_.missed : times == 1 ? figures_.startedOnce : figures_.doubled);
  }
  figures_.early += std::ranges::count_if(started, [&](const auto& url) { return std::ranges::count(due, url) == 0; });
  const bool onlyOrderIsWrong = figures_.violations() == violations;
  if (onlyOrderIsWrong) ++figures_.other;
  std::string what = "due at " + text(pass.minute) + ":";
  for (const auto& url : due) what.append(" ").append(url);
  what += "; started:";
  for (const auto& url : started) what.append(" ").append(url);
  report(what);
}

void Judge::runEnds(Moment now, int status, bool assertionHeld, const OwnWakeEvents& wakeEvents) {
  if (status != 0) otherViolation("the run ended with status " + std::to_string(status));
  if (assertionHeld) otherViolation("the assertion is still held");
  if (std::exchange(announced_, {})) otherViolation("the tool announced a sleep that did not begin");
  if (pass_) {
    const auto& next = pass_->next;
    if (next && *next <= now)
      otherViolation("the run ended after " + text(*next) + ", the next minute in which a schedule fires");
    checkArmed(wakeEvents);
    if (wakeEvents.couldSet) armedFor_ = pass_->crontab;
  } else if (!passFailed_) {
    otherViolation("the run ended without a pass");
  }
  endPass();
}

std::int64_t& Judge::lostAfter(Arming arming) {
  switch (arming) {
    case Arming::refused:
      return figures_.refused;
    case Arming::cancelled:
      return figures_.cancelled;
    case Arming::overtaken:
      return figures_.overtaken;
    default:
      return figures_.armFailed;
  }
}

void Judge::minuteEnds(Minute minute, const MinuteRecord& before, const MinuteRecord& record, const Crontab& inForce) {
  const bool cameWhileEnding = record.atEvent == ToolState::ending;
  if (cameWhileEnding || (record.atEvent && !record.hadPass)) armedFor_.reset();
  if (record.hadPass) return;
  const auto due = std::ssize(inForce.dueAt(minute));
  if (due == 0) return;
  figures_.due += due;

  // The event that was set would have come, also if something else woke the machine within the minute.
  const bool asleep = record.asleepAfter && !record.atEvent && !record.crontabChanged;
  const auto arming = record.asleepAfter.value_or(Arming::failed);
  const bool crontabStayed = !before.crontabChanged && !record.crontabChanged;
  const bool eventWasSet = armedFor_.get() == &inForce;
  // The run in the minute before may have ended so late that the next one starts after this minute.
  const bool crontabHungBefore = before.crontabHung && !eventWasSet;
  const bool timerHadTime = record.awake == 1min && before.available + record.available >= enoughForTimer &&
                            crontabStayed && !crontabHungBefore;
  const bool runHadTime = pass_ && pass_->crontab.get() == &inForce && record.availableSinceHang >= enoughForRun;
  const bool hadTime = record.hung ? runHadTime && !record.crontabHung : timerHadTime || eventHadTime(record);
  if (hadTime || (asleep && (eventWasSet || arming == Arming::worked))) {
    figures_.missed += due;
    report("what was due at " + text(minute) + " was not started");
  } else if (asleep) {
    lostAfter(arming) += due;
  } else if (cameWhileEnding) {
    figures_.ending += due;
  } else if (record.hung || crontabHungBefore) {
    figures_.hung += due;
  } else if (before.awake + record.awake == 2min && crontabStayed) {
    figures_.heldUp += due;
  } else {
    figures_.awakeTooShort += due;
  }
}

}  // namespace zt::simulation
