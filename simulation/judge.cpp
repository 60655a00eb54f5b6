#include "judge.h"

#include <algorithm>
#include <iostream>

namespace zt::simulation {

namespace {

using namespace std::chrono_literals;
using std::chrono::floor;

// How long nothing may have disturbed the machine before the tool must have made a pass. The time that programs take,
// and that of loading the tool, does not count.

/// A run under way may have begun to wait for its end, which takes this long.
constexpr seconds lastWait = 10s;
/// The timer starts the tool 60 seconds after it last ended, and up to a second late.
constexpr seconds untilNextStart = 61s;
/// Without a wake event: a run under way ends, and the timer starts the next one. With a margin of 4 seconds.
constexpr seconds enoughForTimer = lastWait + untilNextStart + 4s;
/// The tool is started at once when it is asked for. This is all margin.
constexpr seconds enoughToStart = 3s;
/// A run under way makes another pass after its wait. With a margin of 2 seconds.
constexpr seconds enoughForRun = lastWait + 2s;

}  // namespace

void Judge::note(Moment now, const TimeZone& zone, std::string_view what) {
  // There are many, so the last hundred texts are used again.
  auto& note = history_.at(static_cast<std::size_t>(notes_++) % history_.size());
  note.moment = now;
  note.offset = zone.offset(floor<minutes>(now));
  note.what = what;
}

void Judge::otherViolation(const std::string& what) {
  ++figures_.other;
  report(what);
}

void Judge::report(const std::string& violation) {
  if (std::exchange(figures_.isReported, true)) return;
  std::cout << machine_ << ": " << violation << "\nWhat happened on the machine before:\n";
  for (auto i = std::max<std::int64_t>(notes_ - std::ssize(history_), 0); i < notes_; ++i) {
    const auto& [moment, offset, what] = history_.at(static_cast<std::size_t>(i) % history_.size());
    std::cout << "  " << shown(moment, offset) << " (UTC" << std::showpos << offset.count() << std::noshowpos
              << " min)  " << what << '\n';
  }
  std::cout << std::endl;
}

void Judge::disturb(Cause cause, bool changesWhatIsDue) {
  if (changesWhatIsDue) hadTime_ = false;
  undisturbed_ = timeForPass_ = 0ms;
  if (pass_ && (cause == Cause::clockSet || cause == Cause::newCrontab)) pass_->isOverturned = true;
  if (cause == Cause::notAwake && beganAsleep_) return;  // by the event that should have come, perhaps
  cause_ = cause;
  beganAsleep_ = false;
}

void Judge::startIsRequested(ToolState state) {
  if (state == ToolState::ending) return disturb(Cause::ending);
  if (std::exchange(beganAsleep_, false)) cause_ = Cause::notAwake;
  timeForPass_ = state == ToolState::running ? enoughForRun : enoughToStart;
}

void Judge::programEnds() {
  disturb(Cause::heldUp);
  if (!pass_ || !pass_->isOverturned) timeForPass_ = enoughToStart;
}

void Judge::timePasses(milliseconds duration) {
  undisturbed_ += duration;
  if (timeForPass_ == 0ms) return;
  timeForPass_ = std::max(timeForPass_ - duration, 0ms);
  hadTime_ = hadTime_ || timeForPass_ == 0ms;
}

void Judge::minuteBegins(std::optional<Cause> stopped) {
  if (beganAsleep_) cause_ = Cause::notAwake;
  beganAsleep_ = false;
  if (!stopped) return;
  disturb(*stopped);
  beganAsleep_ = true;
}

void Judge::minuteEnds(Minute minute, const TimeZone& zone, const Crontab& crontab, bool toTheEnd, bool comesAgain) {
  const bool timerHadTime = toTheEnd && undisturbed_ >= enoughForTimer;
  const bool hadTime = std::exchange(hadTime_, false) || timerHadTime || cause_ == Cause::nothing;
  timeForPass_ = 0ms;
  if (std::exchange(hadPass_, false) || (comesAgain && !hadTime)) return;
  const auto urls = crontab.dueAt(minute, zone);
  const auto due = std::ssize(urls);
  const Shown shownMinute{minute, zone.offset(minute)};
  if (due == 0 || shownMinute == lost_ || served_.contains(shownMinute)) return;
  figures_.due += due;
  figures_.lostTo(hadTime ? Cause::nothing : cause_) += due;
  for (const auto& url : urls) truth_.copyLost(minute, url, hadTime ? Cause::nothing : cause_);
  if (hadTime) report("what was due at " + shown(minute, zone) + " was not started");
}

void Judge::runBegins(bool isAskedFor) {
  ++figures_.runs;
  isAskedFor_ = isAskedFor;
  passFailed_ = false;
}

void Judge::passBegins(Moment now, const TimeZone& zone, const Crontab& crontab) {
  endPass();
  passFailed_ = false;
  const auto minute = floor<minutes>(now);
  truth_.passBegins(minute);
  pass_ = Pass{minute, &zone, crontab.dueAt(minute, zone), crontab.next(minute + 1min, zone)};
  if (hadTime_ && !hadPass_ && !pass_->due.empty()) otherViolation("the tool looks too late at what is due");
  hadPass_ = true;
  const auto [served, isNew] = served_.try_emplace({minute, zone.offset(minute)});
  auto& [run, timesSetBack] = served->second;
  if (!isNew) {
    pass_->due.clear();
    pass_->again = run == figures_.runs            ? &figures_.doubled
                   : isAskedFor_                   ? &figures_.askedFor
                   : timesSetBack != timesSetBack_ ? &figures_.shownAgain
                                                   : &figures_.doubled;
  }
  served->second = {figures_.runs, timesSetBack_};
  if (isNew && pass_->due.empty()) served_.erase(served);
}

void Judge::passFails() {
  endPass();
  passFailed_ = true;
  disturb(Cause::heldUp);
}

void Judge::lose(const std::string& url, Cause cause) {
  const auto number = static_cast<std::int64_t>(std::erase(pass_->due, url));
  figures_.due += number;
  figures_.lostTo(cause) += number;
  if (number > 0) truth_.copyLost(pass_->minute, url, cause);
  lost_ = {pass_->minute, pass_->zone->offset(pass_->minute)};
}

void Judge::eventIsCancelled() {
  if (!pass_) otherViolation("a wake event was cancelled by a run that could not read the crontab");
}

void Judge::sleepAnnounced(seconds duration) {
  announced_ = duration;  // instead of the wait that was announced before, if any: it makes another pass
}

void Judge::toolSleeps(Moment now, seconds duration, const OwnWakeEvents& wakeEvents) {
  const bool continues = pass_ && pass_->slept && pass_->isOverturned && duration <= lastWait;  // was cut short
  if (std::exchange(announced_, {}) != duration && !continues)
    otherViolation("the tool did not announce that it sleeps for " + std::to_string(duration.count()) + " s");
  if (!pass_) return;
  pass_->slept = true;
  const bool endsMinute = (floor<seconds>(now) + duration).time_since_epoch() % 60s == 1s;
  const bool isForNextMinute = duration == 0s || (endsMinute && duration > 0s && duration <= 61s);
  if (duration != lastWait && !isForNextMinute && !pass_->isOverturned) otherViolation("the tool sleeps for too long");
  // The machine may be put to sleep now. Only to serve the next minute may the tool itself sleep without an event.
  const auto& next = pass_->next;
  if (next && *next > pass_->minute + 1min && *next > now) checkArmed(wakeEvents);
}

void Judge::checkArmed(const OwnWakeEvents& wakeEvents) {
  const auto& [armed, couldSet, couldCancel] = wakeEvents;
  if (!couldSet || pass_->isOverturned) return;
  const auto& next = pass_->next;
  const bool isArmed = !next || std::ranges::find(armed, Moment{*next}) != armed.end();
  if (isArmed && (!couldCancel || armed.size() == (next ? 1 : 0))) return;
  std::string what = "wake events armed:";
  for (const auto moment : armed) what.append(" ").append(shown(moment, *pass_->zone));
  otherViolation(what + "; the next schedule fires at: " + (next ? shown(*next, *pass_->zone) : "never"));
}

void Judge::copyStarted(Moment now, const std::string& url) {
  if (!pass_ || pass_->slept) {
    ++figures_.early;
    return report(url + " was started outside a pass");
  }
  pass_->started.push_back(url);
  truth_.copyStarted(pass_->minute, url);
  // Only programs and the machine's own sleep take time within a pass, so a late copy is not the tool's fault.
  if (floor<minutes>(now) != pass_->minute) ++figures_.late;
}

void Judge::compareHistory(const MachineJournal& journal, Moment now, const Crontab& crontab, const TimeZone& zone) {
  for (const auto& wrong : truth_.compare(journal, now, crontab, zone, figures_)) report(wrong);
}

void Judge::endPass() {
  announced_.reset();  // instead of a wait, there can be another pass
  if (!pass_) return;
  const auto number = std::ssize(pass_->started);
  if (pass_->again == nullptr) {
    compare(*pass_);
    if (number == 0) served_.erase({pass_->minute, pass_->zone->offset(pass_->minute)});
  } else if (number > 0) {
    *pass_->again += number;
    if (pass_->again == &figures_.doubled) {
      figures_.startedOnce -= number;
      report("what is due at " + shown(pass_->minute, *pass_->zone) + " was started again, by another pass");
    }
  }
  pass_.reset();
}

void Judge::compare(const Pass& pass) {
  const auto& due = pass.due;
  const auto& started = pass.started;
  figures_.due += std::ssize(due);
  if (started == due) {
    figures_.startedOnce += std::ssize(due);
    return;
  }
  const auto violations = figures_.violations();
  for (const auto& url : due) {
    const auto times = std::ranges::count(started, url);
    ++(times == 0 ? figures_.lostTo(Cause::nothing) : times == 1 ? figures_.startedOnce : figures_.doubled);
  }
  figures_.early += std::ranges::count_if(started, [&](const auto& url) { return std::ranges::count(due, url) == 0; });
  if (figures_.violations() == violations) ++figures_.other;  // only their order is wrong
  std::string what = "due at " + shown(pass.minute, *pass.zone) + ":";
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
    if (next && *next <= now && !pass_->isOverturned)
      otherViolation("the run ended after " + shown(*next, *pass_->zone) +
                     ", the next minute in which a schedule fires");
    checkArmed(wakeEvents);
  } else if (!passFailed_) {
    otherViolation("the run ended without a pass");
  }
  endPass();
}

void Judge::runIsKilled(Cause cause) {
  const auto due = pass_ ? pass_->due : std::vector<std::string>();
  for (const auto& url : due) {
    if (std::ranges::count(pass_->started, url) == 0) lose(url, cause);
  }
  endPass();
  if (cause == Cause::killed) disturb(cause);
}

}  // namespace zt::simulation
