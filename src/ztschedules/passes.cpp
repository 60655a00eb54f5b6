#include "ztschedules/passes.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view looking = "Looking for schedules that run at ";
constexpr std::string_view checkingOne = "Checking one ";

/// What follows `start` in a text that begins with it.
std::optional<std::string> after(std::string_view start, const std::string& text) {
  return text.starts_with(start) ? std::optional(text.substr(start.size())) : std::nullopt;
}

/// A pass, and its entries. The clock can be set in it, and the machine be suspended: what counts is the time awake.
struct Found {
  std::string process, boot;
  std::chrono::microseconds begin, end;  ///< after that, nothing belongs to it
  Pass pass;
};

/// Collects the passes for a minute from the entries of the tool.
class Collector {
 public:
  explicit Collector(Instant minute) : minute_(minute), end_(minute + 60s + 70s) {}  // entries can be taken late

  /// How much earlier than one that was made before it an entry can have been taken into the journal.
  static constexpr auto lateness = 2s;

  bool take(const JournalEntry& entry) {
    for (auto& found : found_) {
      if (entry.boot != found.boot) found.pass.hasEnded = true;  // with the power
    }
    if (entry.event == JournalEvent::message) {
      takeMessage(entry);
    } else if (entry.event == JournalEvent::runFails || entry.event == JournalEvent::runEnds) {
      for (auto& found : found_) {
        found.end = std::min(found.end, entry.awake + lateness);
        found.pass.hasEnded = true;
      }
    } else if (auto* found = foundOf(entry); found != nullptr && entry.event == JournalEvent::output) {
      takeOutput(found->pass, entry.text);
    }
    return entry.time < end_ || std::ranges::any_of(found_, [&](const auto& found) {
             return entry.boot == found.boot && entry.awake < found.end;
           });
  }

  std::vector<Found> found() && { return std::move(found_); }

 private:
  /// Where an entry belongs, or null.
  Found* foundOf(const JournalEntry& entry) {
    const auto found = std::ranges::find_if(found_, [&](const auto& one) {
      return one.process == entry.process && one.boot == entry.boot && entry.awake <= one.end;
    });
    return found == found_.end() ? nullptr : &*found;
  }

  void takeMessage(const JournalEntry& entry) {
    auto* const found = foundOf(entry);
    auto* const pass = found == nullptr ? nullptr : &found->pass;
    if (const auto date = after(looking, entry.text)) {
      if (found != nullptr) {
        found->end = entry.awake - 1us;
        pass->hasEnded = true;
      }
      const auto time = util::readDateText(*date);
      if (!time || time->instant < minute_ || time->instant >= minute_ + 60s) return;
      // A pass takes milliseconds, or 30 seconds for each program that hangs.
      found_.push_back({.process = entry.process,
                        .boot = entry.boot,
                        .begin = entry.awake,
                        .end = entry.awake + 1h,
                        .pass = {.time = time->instant, .offset = time->offset}});
    } else if (pass == nullptr) {
      return;
    } else if (entry.text.starts_with("Found ")) {
      pass->hasReadCrontab = true;
    } else if (const auto path = after("Spawning ", entry.text)) {
      pass->starts.push_back({entry.time, *path, {}});
    } else if (entry.text.starts_with("Not starting ") && !pass->starts.empty()) {
      pass->starts.back().error = entry.text;
    } else if (entry.text.starts_with("Canceling any ") || entry.text.starts_with("Heading out")) {
      found->end = entry.awake;
      pass->hasEnded = true;
    } else {
      pass->errors.push_back(entry.text);  // about a program that hangs, or was killed
    }
  }

  static void takeOutput(Pass& pass, const std::string& text) {
    auto error = after("ztbackupbytime: ", text);
    if (!error) return;
    const bool isAboutStart = !pass.starts.empty() && error->starts_with("cannot start ");
    (isAboutStart ? pass.starts.back().error : pass.errors.emplace_back()) = *error;
    if (isAboutStart) pass.errors.push_back(*std::move(error));  // the copies after it were not started either
  }

  Instant minute_;
  JournalEntry::Time end_;
  std::vector<Found> found_;
};

}  // namespace

std::vector<Pass> passesOf(Instant minute, const Journal& journal) {
  std::vector<Found> all;
  std::optional<std::pair<std::string, std::chrono::microseconds>> firstPlace;
  for (const auto place : {Journal::Place::first, Journal::Place::last}) {
    Collector collector(minute);
    journal.readForward(Journal::Selection::tool, minute - Collector::lateness, place,
                        [&, isFirst = true](const JournalEntry& entry) mutable {
                          const std::pair stamp(entry.boot, entry.awake);
                          if (std::exchange(isFirst, false)) {
                            if (firstPlace == stamp) return false;  // most clocks are not set
                            firstPlace = stamp;
                          }
                          return collector.take(entry);
                        });
    for (auto& found : std::move(collector).found()) {
      const auto isSame = [&](const Found& one) { return one.boot == found.boot && one.begin == found.begin; };
      if (std::ranges::none_of(all, isSame)) all.push_back(std::move(found));
    }
  }
  std::vector<Pass> passes;
  passes.reserve(all.size());
  for (auto& found : all) passes.push_back(std::move(found.pass));
  return passes;
}

std::optional<bool> wasExpected(Instant minute, const Journal& journal, const Calendar& calendar) {
  // A pass logs the next time at which a schedule is due, and the next one from a minute later on; if there is none,
  // nothing.
  std::optional<JournalEntry> pass;
  std::optional<JournalEntry::Time> begin;
  std::string endedRun;
  journal.readBackward(Journal::Selection::tool, minute, Journal::Place::last, [&](const JournalEntry& entry) {
    if (entry.event != JournalEvent::message) return true;
    const bool isWithoutSchedule = entry.process == endedRun && entry.text.starts_with("Canceling any ");
    if (entry.text.starts_with("Heading out")) endedRun = entry.process;
    if (!pass && entry.time < minute && (isWithoutSchedule || entry.text.starts_with(checkingOne))) pass = entry;
    // It has read the crontab then. Programs can take minutes until it logs these times.
    if (pass && entry.process == pass->process && entry.text.starts_with(looking)) begin = entry.time;
    return !begin;
  });
  if (!begin) return std::nullopt;
  bool hasChanged = false;
  journal.readForward(Journal::Selection::crontab, *begin, Journal::Place::last, [&](const JournalEntry& entry) {
    hasChanged = entry.time < minute;
    return false;
  });
  if (!hasChanged && !pass->text.starts_with(checkingOne)) return false;
  constexpr std::string_view separator = " and two ";
  constexpr std::string_view dateForm = "2027-03-05 07:03:00 +0100";
  const auto dates = pass->text.substr(checkingOne.size());
  if (hasChanged || dates.size() < 2 * dateForm.size() + separator.size()) return std::nullopt;
  const auto one = util::readDateText(dates.substr(0, dateForm.size()));
  const auto two = util::readDateText(dates.substr(dateForm.size() + separator.size(), dateForm.size()));
  if (!one || !two || util::dateText(one->instant, calendar) != dates.substr(0, dateForm.size())) return std::nullopt;
  if (one->instant == minute || two->instant == minute) return true;
  return one->instant > minute ? std::optional(false) : std::nullopt;
}

}  // namespace zt
