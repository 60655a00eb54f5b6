#include "journal.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "ztschedules/copy_url.h"
#include "ztschedules/history.h"

namespace zt::simulation {
namespace {

using namespace std::chrono_literals;
using std::chrono::floor;

Journal::Selection selectionOf(JournalEvent event) {
  if (event == JournalEvent::other) return Journal::Selection::all;
  if (event <= JournalEvent::runFails) return Journal::Selection::tool;
  if (event <= JournalEvent::managerStops) return Journal::Selection::timer;
  return event == JournalEvent::crontabChanges ? Journal::Selection::crontab : Journal::Selection::sleep;
}

constexpr std::size_t indexOf(Journal::Selection selection) {
  return static_cast<std::size_t>(selection);
}

/// A time zone as the history sees it. The tool has another calendar, which a change of the zone reaches later.
class ZoneCalendar final : public Calendar {
 public:
  explicit ZoneCalendar(const TimeZone& zone) : zone_(zone) {}

  void update() override {}
  LocalTime localTime(Instant instant) const override {
    return LocalTime{instant.time_since_epoch() + zone_.offset(floor<minutes>(instant))};
  }
  std::string zoneAbbreviation(Instant) const override { return zone_.name(); }
  std::vector<Instant> instants(LocalTime local) const override {
    std::vector<Instant> found;
    const Instant asUtc{local.time_since_epoch()};
    for (auto distance = -26h; distance <= 26h; distance += 1h) {
      const Instant instant = asUtc - zone_.offset(floor<minutes>(asUtc + distance));
      if (localTime(instant) == local) found.push_back(instant);
    }
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
  }

 private:
  const TimeZone& zone_;
};

/// So long after its minute has begun, a copy that is not started may still be: the history leaves it out.
constexpr seconds patience = 90s;

/// Whether a reason of the history means the same as a cause of the judge.
bool isLike(Cause cause, const std::string& reason) {
  using enum Cause;
  static const std::map<Cause, std::vector<std::string_view>> words = {
      {off, {"asleep", "switched off", "service manager was not running", "the run ended before it"}},
      {clockSet, {"the clock was set forward"}},
      {newCrontab, {"too late for a run"}},
      {killed, {"a run failed", "the run ended before it"}},
      {heldUp, {"a run was held up", "Killed", "was killed by", "failed to unescape"}},
      {ending, {"does not tell why"}}};
  const auto found = words.find(cause);
  if (found == words.end()) return reason.starts_with("asleep");
  return std::ranges::any_of(found->second, [&](auto word) { return reason.find(word) != reason.npos; });
}

/// What is wrong with what the history tells about a copy that was lost by a cause, or started. Its reason is counted.
std::optional<std::string> mistakeIn(const PastRun& run, std::optional<Cause> lostBy, Figures* figures) {
  const bool isStarted = !lostBy;
  if (isStarted != (run.outcome == Outcome::started) || run.outcome == Outcome::notDue) {
    return run.entry->line.crontabLine() + (isStarted ? " was started" : " was not started") +
           ", the history tells: " + run.reason;
  }
  if (figures != nullptr && lostBy) {
    auto& [number, likeJudge] = figures->reasons.at(static_cast<std::size_t>(*lostBy));
    ++number;
    if (isLike(*lostBy, run.reason)) ++likeJudge;
  }
  return std::nullopt;
}

/// What the journal has around a minute.
std::string around(const MachineJournal& journal, Minute minute, const TimeZone& zone) {
  std::string text = "\nThe journal around " + shown(minute, zone) + ", in the first place:";
  for (const auto place : {Journal::Place::first, Journal::Place::last}) {
    std::vector<JournalEntry> entries;
    journal.readBackward(Journal::Selection::tool, minute, place, [&](const JournalEntry& entry) {
      entries.insert(entries.begin(), entry);
      return entries.size() < 5;
    });
    const auto most = entries.size() + 15;
    journal.readForward(Journal::Selection::tool, minute, place, [&](const JournalEntry& entry) {
      entries.push_back(entry);
      return entries.size() < most;
    });
    for (const auto& entry : entries) {
      text += "\n  " + shown(floor<milliseconds>(entry.time), zone) + ", boot " + entry.boot + ", event " +
              std::to_string(static_cast<int>(entry.event)) + " " + entry.text;
    }
    text += place == Journal::Place::first ? "\nand in the last place:" : "";
  }
  return text;
}

}  // namespace

void MachineJournal::write(JournalEntry entry) {
  const bool isSystems = entry.event == JournalEvent::other || entry.event == JournalEvent::sleepBegins;
  if (isSystems && !hasSystem_) return;
  if (entry.time <= last_ && entry.time > last_ - 1ms) entry.time = last_ + 1us;
  last_ = entry.time;
  const auto append = [&](Journal::Selection selection, JournalEntry added) {
    auto& files = files_.at(indexOf(selection));
    if (files.empty() || files.back().back().time > added.time) files.emplace_back();
    files.back().push_back(std::move(added));
  };
  append(Selection::all, {.time = entry.time, .awake = entry.awake, .boot = entry.boot});
  if (const auto selection = selectionOf(entry.event); selection != Selection::all) append(selection, std::move(entry));
}

bool MachineJournal::isLarge() const {
  std::size_t size = 0;
  for (const auto& file : files_.at(indexOf(Selection::all))) size += file.size();
  return size > 200'000;
}

void MachineJournal::vacuum() {
  if (!isLarge()) return;
  constexpr std::ptrdiff_t kept = 50'000;  // at most, of the last file
  for (const auto selection : {Selection::tool, Selection::all}) {
    auto& files = files_.at(indexOf(selection));
    files.erase(files.begin(), files.end() - 1);
    auto& last = files.back();
    last.erase(last.begin(), last.end() - std::min(kept, std::ssize(last)));
  }
}

bool MachineJournal::isHidden(Minute minute) const {
  const auto& files = files_.at(indexOf(Selection::tool));
  const auto isPlace = [&](const File& file) {
    return (&file == &files.front() || file.front().time < minute) &&
           (&file == &files.back() || file.back().time >= minute);
  };
  // What is written before it shows that the clock has been set back, but not how far.
  const auto beginsHere = [&](const File& file) {
    return &file != &files.front() && file.front().time > minute - 2s && file.front().time < minute + 1h;
  };
  // It may have been set back in a run.
  const auto endsHere = [&](const File& file) {
    return &file != &files.back() && file.back().time >= minute && file.back().time < minute + 5min;
  };
  return std::ranges::count_if(files, isPlace) > 2 || std::ranges::any_of(files, beginsHere) ||
         std::ranges::any_of(files, endsHere);
}

void MachineJournal::readForward(Selection selection, JournalEntry::Time from, Place place,
                                 const Reader& reader) const {
  const auto& files = files_.at(indexOf(selection));
  const auto begin = [&](const File& file) { return std::ranges::lower_bound(file, from, {}, &JournalEntry::time); };
  auto file = files.begin();
  if (place == Place::last) {
    const auto last =
        std::find_if(files.rbegin(), files.rend(), [&](const File& one) { return begin(one) != one.begin(); });
    if (last != files.rend()) file = std::prev(last.base());
  }
  for (; file != files.end(); ++file) {
    for (auto entry = begin(*file); entry != file->end(); ++entry) {
      if (!reader(*entry)) return;
    }
  }
}

void MachineJournal::readBackward(Selection selection, JournalEntry::Time end, Place place,
                                  const Reader& reader) const {
  const auto& files = files_.at(indexOf(selection));
  const auto endOf = [&](const File& file) { return std::ranges::lower_bound(file, end, {}, &JournalEntry::time); };
  auto file = files.rbegin();
  if (place == Place::first) {
    const auto first = std::ranges::find_if(files, [&](const File& one) { return endOf(one) != one.end(); });
    if (first != files.end()) file = std::make_reverse_iterator(std::next(first));
  }
  for (; file != files.rend(); ++file) {
    for (auto entry = std::make_reverse_iterator(endOf(*file)); entry != file->rend(); ++entry) {
      if (!reader(*entry)) return;
    }
  }
}

void Truth::beginPeriod(std::optional<Moment> now) {
  copies_.clear();
  ++period_;
  begin_ = std::nullopt;
  if (!now) return;
  const auto minute = floor<minutes>(*now);
  passes_.erase(passes_.begin(), passes_.upper_bound(minute));
  begin_ = minute + 1min;
}

bool Truth::canBeTold(Minute minute, std::optional<Cause> lostBy, Moment now) const {
  return minute >= *begin_ && minute + (lostBy ? patience : 0s) <= now;
}

std::vector<std::string> Truth::compare(const MachineJournal& journal, Moment now, const Crontab& crontab,
                                        const TimeZone& zone, Figures& figures) const {
  std::vector<std::string> wrong;
  if (!begin_) return wrong;
  const auto isWrong = [&](Minute minute, const std::string& what) {
    ++(journal.isHidden(minute) ? figures.hidden : figures.toldWrong);
    if (!journal.isHidden(minute)) wrong.push_back(what + around(journal, minute, zone));
  };
  std::string text;
  for (const auto& line : crontab.text()) text.append(line).append(1, '\n');
  const ZoneCalendar calendar(zone);
  const Instant until = floor<seconds>(now);
  const auto entries = readScheduleEntries(text, until, calendar);
  auto untold = copies_;
  for (const auto& run : pastRuns(entries, *begin_, until, until, journal, calendar)) {
    const auto minute = floor<minutes>(run.due);
    const auto url = certainURL(run.entry->line);
    const auto copy = copies_.find({minute, url ? url->absoluteString() : ""});
    if (copy != copies_.end()) untold.erase(copy->first);
    const auto pass = passes_.find(minute);
    if (pass != passes_.end() && pass->second != period_) continue;  // the clock has shown it with another crontab, too
    // What is not known has no URL, or the clock has skipped that minute.
    const auto mistake =
        copy == copies_.end() ? mistakeIn(run, Cause::nothing, nullptr) : mistakeIn(run, copy->second, &figures);
    if (run.outcome != Outcome::started && minute + patience > now) {
      isWrong(minute, run.entry->line.crontabLine() + " may still be started, the history tells: " + run.reason);
    } else if (mistake) {
      isWrong(minute, *mistake);
    } else {
      ++figures.toldRight;
    }
  }
  for (const auto& [copy, cause] : untold) {
    const auto& [minute, url] = copy;
    if (canBeTold(minute, cause, now)) isWrong(minute, url + " is left out by the history");
  }
  return wrong;
}

}  // namespace zt::simulation
