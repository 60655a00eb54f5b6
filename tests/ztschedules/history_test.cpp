#include "ztschedules/history.h"

#include "support/test.h"
#include "util/text.h"
#include "util/time_text.h"
#include "ztschedules/views.h"

namespace {

/// A journal from texts such as "07:59:59 look; found 1; spawn /a", on the 15th. What has no time happens a moment
/// later. "day 16" is another day from there on.
struct WrittenJournal : Journal {
  explicit WrittenJournal(const std::string& texts) {
    for (auto text : util::split(texts, ';'))
      add(std::string(text.substr(std::min(text.find_first_not_of(' '), text.size()))));
  }

  void readForward(Selection selection, JournalEntry::Time from, Place place, const Reader& reader) const override {
    auto entry = entries.begin();
    if (place == Place::last) {
      const auto isBefore = [&](const auto& one) { return isIn(selection, one) && one.time < from; };
      entry = std::find_if(entries.rbegin(), entries.rend(), isBefore).base();
    }
    for (; entry != entries.end(); ++entry) {
      if (isIn(selection, *entry) && entry->time >= from && !reader(*entry)) return;
    }
  }
  void readBackward(Selection selection, JournalEntry::Time end, Place place, const Reader& reader) const override {
    auto entry = entries.rbegin();
    if (place == Place::first) {
      const auto isNotBefore = [&](const auto& one) { return isIn(selection, one) && one.time >= end; };
      entry = std::make_reverse_iterator(std::ranges::find_if(entries, isNotBefore));
    }
    for (; entry != entries.rend(); ++entry) {
      if (isIn(selection, *entry) && entry->time < end && !reader(*entry)) return;
    }
  }
  Scope scope() const override { return {.hasSystem = hasSystem, .isPersistent = true}; }

  bool hasSystem = true;
  std::vector<JournalEntry> entries;

 private:
  static bool isIn(Selection selection, const JournalEntry& entry) {
    using enum JournalEvent;
    const auto is = [&](std::initializer_list<JournalEvent> events) {
      return std::ranges::count(events, entry.event) > 0;
    };
    switch (selection) {
      case Selection::tool:
        return is({message, output, runBegins, runEnds, runFails});
      case Selection::timer:
        return is({timerStarts, timerStops, managerStarts, managerStops});
      case Selection::sleep:
        return is({sleepIsPrepared, sleepBegins});
      case Selection::crontab:
        return is({crontabChanges});
      case Selection::all:
        return true;
    }
    return false;
  }

  void add(std::string text) {
    if (text.empty()) return;
    if (text.find(':') == 2) {
      time_ = at("2027-03-" + day_ + " " + text.substr(0, 8) + " +0000");
      text.erase(0, 9);
    } else {
      time_ += 1ms;
    }
    const auto word = text.substr(0, text.find(' '));
    const auto rest = text.substr(std::min(word.size() + 1, text.size()));
    if (word == "asleep") asleep_ += std::chrono::seconds{std::stoi(rest)};  // until this moment
    if (word == "boot") {
      boot_ += 'I';
      start_ = time_;
      asleep_ = {};
    }
    if (word == "day") {
      day_ = rest;
      return;
    }
    JournalEntry entry{.time = time_, .awake = time_ - start_ - asleep_, .boot = boot_, .process = "7"};
    const std::map<std::string, JournalEvent> events = {
        {"says", JournalEvent::message},       {"prints", JournalEvent::output},
        {"begins", JournalEvent::runBegins},   {"ends", JournalEvent::runEnds},
        {"fails", JournalEvent::runFails},     {"timer+", JournalEvent::timerStarts},
        {"timer-", JournalEvent::timerStops},  {"user+", JournalEvent::managerStarts},
        {"user-", JournalEvent::managerStops}, {"arm", JournalEvent::sleepIsPrepared},
        {"sleep", JournalEvent::sleepBegins},  {"crontab", JournalEvent::crontabChanges}};
    const std::map<std::string, std::string> messages = {{"look", "Looking for schedules that run at "},
                                                         {"found", "Found "},
                                                         {"spawn", "Spawning "},
                                                         {"cancel", "Canceling any existing wake events."},
                                                         {"out", "Heading out, canceling power assertion."},
                                                         {"next", "Checking one 2027-03-"}};
    if (const auto event = events.find(word); event != events.end()) {
      entry.event = event->second;
      entry.text = rest;
    } else if (const auto start = messages.find(word); start != messages.end()) {
      entry.event = JournalEvent::message;
      const auto now =
          util::formatted(LocalTime{std::chrono::floor<std::chrono::seconds>(time_).time_since_epoch()}, "%F %T +0000");
      entry.text = start->second + (word == "look" && rest.empty() ? now : rest);
    }
    entries.push_back(entry);
  }

  JournalEntry::Time time_, start_ = at("2027-03-01 00:00 +0000");
  std::chrono::microseconds asleep_{};
  std::string boot_ = "I", day_ = "15";
};

struct History : testing::Test {
  const Zone zone{"UTC0"};
  const Instant now = at("2027-03-15 23:00 +0000");  // a Monday

  std::vector<PastRun> runs(const std::vector<ScheduleEntry>& entries, const std::string& journal) const {
    return pastRuns(entries, now - 23h, now, now, WrittenJournal(journal), zone.calendar);
  }
  std::vector<ScheduleEntry> entriesOf(const std::string& crontab) const {
    return readScheduleEntries(crontab, now, zone.calendar);
  }
};

std::string shown(const PastRun& run) {
  const std::array names = {"started", "failed", "missed", "not known", "not due"};
  return std::string(names.at(static_cast<std::size_t>(run.outcome))) +
         (run.delay ? " " + std::to_string(run.delay->count()) : "") + (run.reason.empty() ? "" : ": " + run.reason);
}

// A quiet run before, which expects nothing of this minute, and one after.
const std::string expecting = "next 15 07:59:00 +0000 and two 2027-03-15 07:59:00 +0000 minute events.; ";
const std::string before =
    "06:00:00 timer+; user+; 07:58:40 begins; look; found 0; cancel; " + expecting + "out; ends; ";
const std::string after = "08:01:40 begins; look; found 0; cancel; out; ends";

TEST_F(History, TellsWhatBecameOfACopy) {
  struct Row {
    const char* why;
    std::string journal;
    std::string expected;
    bool hasSystem = true;
  };
  const std::vector<Row> rows = {
      {"a copy", before + "08:00:01 begins; look; found 1; spawn /a; cancel; out; ends; " + after, "started 1"},
      {"late, behind a program that hangs", before + "08:00:01 look; 08:01:02 found 1; spawn /a; cancel; " + after,
       "started 62"},
      {"twice, by two runs",
       before +
           "08:00:01 look; found 1; spawn /a; cancel; out; ends; 08:00:30 look; found 1; spawn /a; cancel; out; ends",
       "started 1: started again at 08:00"},
      {"the machine is suspended in the run", before + "08:00:04 look; sleep; 10:00:00 asleep 7190; found 1; spawn /a",
       "started 7200"},
      {"the clock was ahead for a moment",
       before + "09:59:00 asleep 7200; look; found 0; out; 07:59:40 asleep -7200; look; found 0; out; 08:00:01 begins; "
                "look; found 1; spawn /a; cancel; out; ends",
       "started 1"},
      {"the clock was set back in the run",
       before + "08:00:00 look; 07:59:59 asleep -1; found 1; spawn /a; cancel; out; 09:00:00 sleep", "started 0"},
      {"the clock showed the minute again, and the machine was asleep then",
       before + "08:00:01 begins; look; found 1; spawn /a; cancel; out; ends; 07:00:00 asleep -3700; 07:58:00 look; "
                "found 0; out; sleep; 09:00:00 asleep -100; look",
       "started 1"},
      {"taken late",
       before + "08:01:05 begins; says Looking for Zantrove!; look 2027-03-15 08:00:58 +0000; found 1; "
                "spawn /a; cancel",
       "started 65"},
      {"in the minute after", before + "08:00:30 other; 08:01:00 look; found 1; spawn /a; cancel",
       "missed: the journal does not tell why"},
      {"the first pass fails, the second one does not",
       before + "08:00:01 look; says Killed x; 08:00:31 look; found 1; spawn /a; cancel", "started 31"},
      {"the second pass fails",
       before + "08:00:01 look; found 1; spawn /a; cancel; 08:00:20 look; found 1; spawn /a; prints ztbackupbytime: "
                "cannot start /c: No; fails x",
       "started 1"},
      {"the next pass of the run is for another minute",
       before + "08:00:50 look; 08:01:20 says Killed x; look; found 1; spawn /a; cancel", "failed: Killed x"},
      {"the power is cut", before + "08:00:01 look; 09:00:00 boot; timer+; user+; begins; look",
       "failed: the run ended before it"},
      {"the journal ends", before + "08:00:01 look", "not known: the journal does not tell how its run went on"},
      {"the controller is gone",
       before + "08:00:01 look; found 1; spawn /a; prints ztbackupbytime: cannot start /c: No such file; fails x; " +
           after,
       "failed: cannot start /c: No such file"},
      {"its message comes after that of the service manager",
       before + "08:00:01 look; found 1; spawn /a; fails x; prints ztbackupbytime: cannot start /c: No; " + after,
       "failed: cannot start /c: No"},
      {"another user can have put the controller there",
       before + "08:00:01 look; found 1; spawn /a; says Not starting /c: others can write; cancel; " + after,
       "failed: Not starting /c: others can write"},
      {"an earlier copy cannot be started",
       before + "08:00:01 look; found 2; spawn /b; prints ztbackupbytime: cannot start /c: No; fails x; " + after,
       "failed: cannot start /c: No"},
      {"the copy prints what looks like a message",
       before + "08:00:01 look; found 1; spawn /a; prints Spawning /b; cancel; out; " + after, "started 1"},
      {"crontab hangs", before + "08:00:01 look; 08:00:31 says Killed /usr/bin/crontab -l: too long.; out; " + after,
       "failed: Killed /usr/bin/crontab -l: too long."},
      {"crontab is gone",
       before + "08:00:01 look; prints ztbackupbytime: cannot start /usr/bin/crontab: No; fails x; " + after,
       "failed: cannot start /usr/bin/crontab: No"},
      {"no URL",
       before +
           "08:00:01 look; prints ztbackupbytime: failed to unescape \"ZTUtil file:///a\" from \"0\t8\t*\t*\t*\tZTUtil "
           "file:///a\".; found 0; cancel; " +
           after,
       "failed: failed to unescape \"ZTUtil file:///a\""},
      {"the run is killed", before + "08:00:01 look; fails killed; " + after, "failed: the run ended before it"},
      {"another crontab", before + "08:00:01 look; found 0; cancel; 09:00:00 crontab; " + after,
       "not due: the crontab was another then: it was changed after that, at 09:00"},
      {"another path", before + "08:00:01 look; found 1; spawn /b; cancel; " + after,
       "not due: the crontab was another then"},
      {"another time zone", before + "08:00:01 look 2027-03-15 09:00:01 +0100; found 0; cancel; " + after,
       "not due: the tool's time zone was another: UTC+01:00"},
      {"asleep", before + "07:59:30 sleep; asleep 0; 09:00:00 asleep 3600; begins; look; found 0; cancel",
       "missed: asleep from 07:59 to 09:00"},
      {"asleep, as the kernel says afterwards", before + "07:59:30 other; 09:00:00 asleep 3600; sleep; begins; look",
       "missed: asleep from 07:59 to 09:00"},
      {"asleep, as the user's own entries tell",
       before + "07:59:29 arm; 07:59:30 other; 09:00:00 asleep 3600; begins; look",
       "missed: asleep from 07:59 to 09:00", false},
      {"awake in the first seconds of the minute only", before + "08:00:05 sleep; 09:00:00 asleep 3500; look",
       "missed: asleep from 08:00 to 09:00"},
      {"awake in the last seconds of the minute only",
       before + "07:59:30 sleep; 08:00:50 asleep 60; 08:01:20 look; found 0; cancel",
       "missed: asleep from 07:59 to 08:00"},
      {"the clock is set forward", before + "09:00:00 asleep 3600; begins; look",
       "missed: the clock was set forward from 07:58 to 09:00"},
      {"that, or asleep", before + "09:00:00 asleep 3600; begins; look",
       "missed: asleep, or the clock was set forward, from 07:58 to 09:00", false},
      {"asleep, and the clock was ahead for a moment before",
       before + "09:59:00 asleep 7200; look; out; 07:59:00 asleep -7200; look; out; sleep; 09:00:00 asleep 3600; look",
       "missed: asleep from 07:59 to 09:00"},
      {"woken in this minute, and then the run is killed",
       before + "07:59:10 sleep; 08:00:03 asleep 50; begins; fails killed; " + after, "missed: a run failed: killed"},
      {"switched off", before + "07:59:00 user-; 10:00:00 boot; timer+; user+; begins; look",
       "missed: switched off from 07:59 to 10:00"},
      {"the same without the system's entries", before + "10:00:00 boot; timer+; user+; begins; look",
       "missed: switched off, or logged out, from 07:58 to 10:00", false},
      {"nobody has logged in yet",
       "06:00:00 look; 07:00:00 boot; 07:59:59 other; 08:00:30 other; 10:00:00 timer+; user+; look",
       "missed: the user's service manager was not running until 10:00"},
      {"logged out", before + "07:59:00 timer-; user-; 08:00:30 other; 10:00:00 timer+; user+; look",
       "missed: the user's service manager was not running from 07:59 to 10:00"},
      {"logged out, and then asleep",
       before + "07:59:00 timer-; user-; sleep; 10:00:00 asleep 7000; timer+; user+; look",
       "missed: the user's service manager was not running from 07:59 to 10:00"},
      {"the timer is stopped", before + "07:59:00 timer-; 08:00:30 other; 10:00:00 timer+; look",
       "missed: the timer was stopped from 07:59 to 10:00"},
      {"the timer is not enabled", "05:00:00 look; user-; 06:00:00 user+; 08:00:30 other; 10:00:00 timer+; look",
       "missed: the timer was stopped until 10:00"},
      {"a run hangs", before + "07:59:50 begins; look; found 1; spawn /b; 08:02:30 cancel; out",
       "missed: a run was held up from 07:59 to 08:02"},
      {"a run never ends", before + "07:59:50 begins; look; 08:02:00 other", "missed: a run was held up from 07:59"},
      {"a program hangs", before + "07:59:50 begins; look; 08:01:30 says Killed /bin/bash -c: too long.",
       "missed: a run was held up from 07:59 to 08:01: Killed /bin/bash -c: too long."},
      {"no application",
       before + "08:00:20 begins; says Looking for Zantrove!; says Couldn't find Zantrove! application; fails x; " +
           after,
       "missed: a run failed: Couldn't find Zantrove! application"},
      {"no tool", before + "08:00:20 begins; fails Failed with result 'exit-code'.; " + after,
       "missed: a run failed: Failed with result 'exit-code'."},
      {"awake, and no run", before + "08:00:30 other; " + after, "missed: the journal does not tell why"},
      {"the same, if nothing can be lost", "07:59:55 look; out; 08:01:02 look",
       "missed: the journal does not tell why"},
      {"saved too late", before + "07:59:50 begins; look; found 0; cancel; 07:59:55 crontab; out; ends; " + after,
       "missed: the crontab was changed at 07:59, too late for a run"},
      {"a run holds on, and says so",
       before + "07:59:50 begins; look; 08:00:20 says Killed x; 08:00:50 says Killed y; 08:01:20 says Killed z; cancel",
       "missed: a run was held up from 07:59 to 08:01: Killed z"},
      {"the timer is stopped in this minute", before + "08:00:10 timer-; 08:30:00 timer+; begins; look",
       "missed: the timer was stopped from 08:00 to 08:30"},
      {"logged out in this minute", before + "08:00:10 timer-; user-; 08:30:00 timer+; user+; begins; look",
       "missed: the user's service manager was not running from 08:00 to 08:30"},
      {"no application, and then asleep",
       before + "08:00:05 begins; says Couldn't find Zantrove! application; fails x; 09:00:00 asleep 3500; look",
       "missed: a run failed: Couldn't find Zantrove! application"},
      {"another line had no URL, a minute before",
       before + "07:59:10 prints ztbackupbytime: failed to unescape x; 08:00:30 other; " + after,
       "missed: the journal does not tell why"},
      {"a clock that starts with an old time", "07:30:00 look; boot; 10:00:00 asleep 8900; timer+; user+; look",
       "missed: switched off, or the clock was set forward, from 07:30 to 10:00"},
      {"a run that has just failed", before + "07:59:00 begins; look; 07:59:05 fails killed; 08:01:40 begins; look",
       "missed: a run failed: killed"},
      {"entries are lost", before + "09:00:00 look; found 0; cancel",
       "not known: the journal has no entries from 07:58 to 09:00"},
      {"the run before it was to set the wake event for it",
       before +
           "07:58:50 next 15 08:00:00 +0000 and two 2027-03-15 08:00:00 +0000 minute events.; sleep; 09:00:00 asleep "
           "3600; crontab",
       "missed: asleep from 07:58 to 09:00"},
      {"the run before it knew nothing of it",
       before +
           "07:58:50 next 16 08:00:00 +0000 and two 2027-03-16 08:00:00 +0000 minute events.; sleep; 09:00:00 asleep "
           "3600; crontab",
       "not due: the crontab was another then: it was changed after that, at 09:00"},
      {"but then the crontab was changed",
       before + "07:58:50 next 16 08:00:00 +0000 and two 2027-03-16 08:00:00 +0000 minute events.; crontab; sleep; "
                "09:00:00 asleep 3600",
       "missed: asleep from 07:58 to 09:00"},
      {"the crontab was changed in the run before it, which had read it",
       before +
           "07:58:50 look; crontab; next 16 08:00:00 +0000 and two 2027-03-16 08:00:00 +0000 minute events.; sleep; "
           "09:00:00 asleep 3600",
       "missed: asleep from 07:58 to 09:00"},
      {"the run before it was in another time zone",
       before +
           "07:58:50 next 16 09:00:00 +0100 and two 2027-03-16 09:00:00 +0100 minute events.; sleep; 09:00:00 asleep "
           "3600",
       "missed: asleep from 07:58 to 09:00"},
      {"not seen in other passes: the crontab has been changed, but when?",
       before + "07:59:30 sleep; 09:00:00 asleep 3600; begins; look; crontab",
       "not known: asleep from 07:59 to 09:00; the crontab was changed after that, at 09:00"},
  };
  const auto entries = entriesOf(lineText("0 8 * * *", "ZTUtil file:///a"));
  for (const auto& row : rows) {
    WrittenJournal journal(row.journal);
    journal.hasSystem = row.hasSystem;
    const auto found = pastRuns(entries, now - 23h, now, now, journal, zone.calendar);
    ASSERT_EQ(found.size(), 1U) << row.why;
    EXPECT_EQ(shown(found.front()), row.expected) << row.why;
  }
}

/// What pastRuns() or lastRuns() tell, as texts such as "15 08:00 a started 1".
Texts shown(const std::vector<PastRun>& runs) {
  Texts texts;
  for (const auto& run : runs)
    texts.push_back(formatted(LocalTime{run.due.time_since_epoch()}, "%d %R ") + run.entry->copy + " " + shown(run));
  return texts;
}

TEST_F(History, TellsApartTheCopiesOfAMinute) {
  // The second and the fourth are what only bash knows. The last one is listed twice, and both are started.
  const auto entries = entriesOf(
      lineText("0 8 * * *", "ZTUtil file:///a") + "\n" + lineText("0 8 * * *", "ZTUtil $b") + "\n" +
      lineText("0 8 * * 2", "ZTUtil file:///c") + "\n" + lineText("0 8 * * *", "ZTUtil $d") + "\n" +
      lineText("0 8 * * *", "ZTUtil file:///e%20e") + "\n" + lineText("0 8 * * *", "ZTUtil file:///e%20e") + "\n");
  EXPECT_EQ(
      shown(runs(entries, before + "08:00:01 look; found 5; spawn /a; spawn /x; spawn /y; spawn /e e; spawn /e e")),
      (Texts{"15 08:00 a started 1", "15 08:00 $b started 1", "15 08:00 $d started 1", "15 08:00 e e started 1",
             "15 08:00 e e started 1"}));
}

TEST_F(History, KnowsSinceWhenAScheduleIsThere) {
  const auto entries = entriesOf(lineText("0 8 * * *", "ZTUtil file:///a"));
  struct Row {
    const char* why;
    std::string journal;
    Texts expected;
  };
  const std::vector<Row> rows = {
      {"a new schedule, and a machine that slept before it was there",
       "day 12; 08:00:01 look; found 0; cancel; sleep; day 14; 09:00:00 asleep 176000; look; crontab; day 15; 08:00:01 "
       "look; found 1; spawn /a",
       {"12 08:00 a not due: the crontab was another then: it was changed after that, at Sun 09:00",
        "13 08:00 a not due: the crontab was another then: it was changed after that, at Sun 09:00",
        "14 08:00 a not due: the crontab was another then: it was changed after that, at 09:00",
        "15 08:00 a started 1"}},
      {"asleep, and not there when it had woken up",
       "day 13; 07:00:00 look; sleep; 09:00:00 asleep 7200; look; day 14; 08:00:01 look; found 0; cancel; day 15; "
       "08:00:01 look; found 1; spawn /a",
       {"13 08:00 a not due: the crontab was another then", "14 08:00 a not due: the crontab was another then",
        "15 08:00 a started 1"}},
      {"another line was changed later",
       "day 13; 08:00:01 look; found 1; spawn /a; sleep; day 14; 09:00:00 asleep 89000; look; crontab; day 15; "
       "08:00:01 look; found 1; spawn /a",
       {"13 08:00 a started 1", "14 08:00 a missed: asleep from Sat 08:00 to 09:00", "15 08:00 a started 1"}},
      {"another schedule of that minute was expected, and this one added later",
       "day 14; 08:00:01 look; found 1; spawn /b; cancel; next 15 08:00:00 +0000 and two 2027-03-15 08:00:00 +0000 "
       "minute "
       "events.; out; sleep; day 15; 09:00:00 asleep 89000; look; found 0; cancel; 09:05:00 crontab",
       {"14 08:00 a not due: the crontab was another then: it was changed after that, at Mon 09:05",
        "15 08:00 a not due: the crontab was another then: it was changed after that, at 09:05"}},
      {"a run without any schedule, and none in this minute",
       "day 14; 08:00:01 look; found 0; cancel; out; day 15; 07:59:50 look; found 0; cancel; 08:00:00 out; 08:01:00 "
       "look; "
       "found 0; cancel; out",
       {"14 08:00 a not due: the crontab was another then", "15 08:00 a not due: the crontab was another then"}},
      {"before the first entry, nothing is known",
       "day 14; 12:00:00 look; day 15; 08:00:01 look; found 1; spawn /a",
       {"15 08:00 a started 1"}},
  };
  for (const auto& row : rows) {
    const WrittenJournal journal(row.journal);
    EXPECT_EQ(shown(pastRuns(entries, now - 96h, now, now, journal, zone.calendar)), row.expected) << row.why;
    const bool wasDue = row.expected.back().find("not due") == std::string::npos;
    EXPECT_EQ(shown(lastRuns(entries, now, journal, zone.calendar)), wasDue ? Texts{row.expected.back()} : Texts())
        << row.why;
  }
  // It may still be started.
  const WrittenJournal journal(
      "day 14; 08:00:01 look; found 1; spawn /a; cancel; day 15; 07:59:10 look; found 0; cancel; 08:00:29 look");
  const auto soon = at("2027-03-15 08:00:30 +0000");
  EXPECT_EQ(shown(lastRuns(entries, soon, journal, zone.calendar)), Texts{"14 08:00 a started 1"});
}

TEST_F(History, KnowsSkippedAndRepeatedHours) {
  const Zone lisbon("WET0WEST,M3.5.0/1,M3.3.1/3");  // as if the clocks went back on the 15th, from 3:00 to 2:00
  const auto entries = readScheduleEntries(lineText("30 2 * * *", "ZTUtil file:///a"), now, lisbon.calendar);
  const WrittenJournal journal(
      "00:00:00 look; 01:30:01 look 2027-03-15 02:30:01 +0100; found 1; spawn /a; 02:30:01 look; found 1; spawn /a; "
      "cancel; out");
  EXPECT_EQ(shown(pastRuns(entries, now - 22h - 59min, now, now, journal, lisbon.calendar)),
            (Texts{"15 01:30 a started 1", "15 02:30 a started 1"}));
}

TEST_F(History, ShowsTables) {
  const auto entries =
      entriesOf(lineText("0 8 * * *", "ZTUtil file:///a") + "\n" + lineText("0 9 * * *", "ZTUtil file:///b") + "\n" +
                lineText("0 7 * * *", "ZTUtil file:///c"));
  const WrittenJournal journal(
      "06:00:00 look; 07:00:01 look; found 1; spawn /c; cancel; 08:00:00 look; found 1; spawn /a; cancel; ends; sleep; "
      "09:30:00 asleep 5000; look; day 14; ");
  const auto found = pastRuns(entries, now - 23h, now, now, journal, zone.calendar);
  EXPECT_EQ(historyView(found, true, zone.calendar, {}),
            "DUE                       RESULT   DELAY  COPY  REASON\n"
            "Mon 2027-03-15 07:00 UTC  started  1s     c\n"
            "Mon 2027-03-15 08:00 UTC  started  0s     a\n"
            "Mon 2027-03-15 09:00 UTC  missed   -      b     asleep from 08:00 to 09:30\n"
            "\n"
            "3 copies were due: 2 started, 1 missed.\n");
  EXPECT_EQ(historyView(pastRuns(entries, now, now, now, journal, zone.calendar), false, zone.calendar, {}),
            "No copy was due.\n");
  EXPECT_EQ(nextRunsView(entries, lastRuns(std::span(entries).first(2), now, journal, zone.calendar), now,
                         zone.calendar, {.columns = {}, .hasColor = true}),
            "NEXT                      LEFT  LAST     SCHEDULE            COPY\n"
            "Tue 2027-03-16 07:00 UTC  8h    -        every day at 07:00  c\n"
            "Tue 2027-03-16 08:00 UTC  9h    15h ago  every day at 08:00  a\n"
            "Tue 2027-03-16 09:00 UTC  10h   \x1b[31mmissed\x1b[0m   every day at 09:00  b\n");
}

}  // namespace
