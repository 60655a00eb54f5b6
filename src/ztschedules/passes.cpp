#include "ztschedules/passes.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view checkingOne = "Checking one ";

/// What follows `start` in a text that begins with it.
std::optional<std::string> after(std::string_view start, const std::string& text) {
  return text.starts_with(start) ? std::optional(text.substr(start.size())) : std::nullopt;
}

/// Collects the passes for a minute from the entries of the tool.
class Collector {
 public:
  explicit Collector(Instant minute) : minute_(minute), end_(minute + 60s + lateness) {}

  /// How much later than it is made an entry can have been taken into the journal.
  static constexpr auto lateness = 2s;

  bool take(const JournalEntry& entry) {
    if (entry.event == JournalEvent::message) {
      takeMessage(entry);
    } else if (entry.event == JournalEvent::runFails || entry.event == JournalEvent::runEnds) {
      for (auto& found : found_) found.end = std::min(found.end, entry.time + lateness);
    } else if (auto* found = foundOf(entry); found != nullptr && entry.event == JournalEvent::output) {
      takeOutput(found->pass, entry.text);
    }
    return entry.time < end_ || std::ranges::any_of(found_, [&](const auto& found) { return entry.time < found.end; });
  }

  std::vector<Pass> passes() && {
    std::vector<Pass> result;
    for (auto& found : found_) result.push_back(std::move(found.pass));
    return result;
  }

 private:
  struct Found {
    std::string process;
    Pass pass;
    JournalEntry::Time end;  ///< after that, nothing belongs to it
  };

  /// Where an entry belongs, or null.
  Found* foundOf(const JournalEntry& entry) {
    const auto found = std::ranges::find_if(
        found_, [&](const auto& one) { return one.process == entry.process && entry.time <= one.end; });
    return found == found_.end() ? nullptr : &*found;
  }

  void takeMessage(const JournalEntry& entry) {
    auto* const found = foundOf(entry);
    auto* const pass = found == nullptr ? nullptr : &found->pass;
    if (const auto date = after("Looking for schedules that run at ", entry.text)) {
      if (found != nullptr) found->end = entry.time - 1us;
      const auto time = util::readDateText(*date);
      if (!time || time->instant < minute_ || time->instant >= minute_ + 60s) return;
      // A pass takes milliseconds, or 30 seconds for each program that hangs.
      found_.push_back({entry.process, {.time = time->instant, .offset = time->offset}, entry.time + 1h});
    } else if (pass == nullptr) {
      return;
    } else if (entry.text.starts_with("Found ")) {
      pass->hasReadCrontab = true;
    } else if (const auto path = after("Spawning ", entry.text)) {
      pass->starts.push_back({entry.time, *path, {}});
    } else if (entry.text.starts_with("Not starting ") && !pass->starts.empty()) {
      pass->starts.back().error = entry.text;
    } else if (entry.text.starts_with("Canceling any ") || entry.text.starts_with("Heading out")) {
      found->end = entry.time;
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
  Collector collector(minute);
  journal.readForward(Journal::Selection::tool, minute - Collector::lateness,
                      [&](const JournalEntry& entry) { return collector.take(entry); });
  return std::move(collector).passes();
}

std::optional<bool> wasExpected(Instant minute, const Journal& journal) {
  // A pass logs the next time at which a schedule is due, and the next one from a minute later on.
  std::optional<JournalEntry> pass;
  journal.readBackward(Journal::Selection::tool, minute, [&](const JournalEntry& entry) {
    if (entry.event == JournalEvent::message && entry.text.starts_with(checkingOne)) pass = entry;
    return !pass;
  });
  if (!pass) return std::nullopt;
  bool hasChanged = false;
  journal.readForward(Journal::Selection::crontab, pass->time, [&](const JournalEntry& entry) {
    hasChanged = entry.time < minute;
    return false;
  });
  constexpr std::string_view separator = " and two ";
  constexpr std::string_view dateForm = "2027-03-05 07:03:00 +0100";
  const auto dates = pass->text.substr(checkingOne.size());
  if (hasChanged || dates.size() < 2 * dateForm.size() + separator.size()) return std::nullopt;
  const auto one = util::readDateText(dates.substr(0, dateForm.size()));
  const auto two = util::readDateText(dates.substr(dateForm.size() + separator.size(), dateForm.size()));
  if (!one || !two) return std::nullopt;
  if (one->instant == minute || two->instant == minute) return true;
  return one->instant > minute ? std::optional(false) : std::nullopt;
}

}  // namespace zt
