#include "driver/run.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/fakes.h"
#include "support/zone.h"
#include "util/text.h"

namespace zt {

using namespace platform;
using namespace util;
namespace {

using namespace std::chrono_literals;

/// A machine at 12:34:20 on a Tuesday, with the application installed and an agent that works.
struct Run : testing::Test {
  Run() {
    applications.installedCopy = "/opt/Z.app";
    fileManager.executables = {"/opt/Z.app/Contents/MacOS/ZTAgent"};
  }

  int run() {
    log.entries.clear();
    return zt::run({clock, zone.calendar, applications, fileManager, commands, powerAssertions, wakeEvents,
                    LogSinks{nullptr, log}, output});
  }

  Zone zone{"CET-1CEST,M3.5.0,M10.5.0/3"};
  FakeClock clock{at("2027-03-09 12:34:20 +0100")};
  FakeApplications applications;
  FakeFileManager fileManager;
  FakeCommands commands{};
  FakePowerAssertions powerAssertions;
  FakeWakeEvents wakeEvents;
  FakePlainLog log;
  std::ostringstream output;
};

const std::string now = "34\t12\t*\t*\t*\tZTUtil file:///now%20here";
const std::string next = "35\t12\t*\t*\t*\tZTUtil file:///next";
const std::string tomorrow = "5\t0\t*\t*\t3\tZTUtil file:///tomorrow";

const std::string settingWake =
    "INFO: Next event more than 1 minute from now, setting wake, then sleeping 10 seconds for launchd "
    "ThrottleInterval.";

TEST_F(Run, SaysWhatItDoesInOrder) {
  commands.crontab = {tomorrow, now, next};
  wakeEvents.events = {
      "[0]  wake at  01/02/2030 03:04:05 by 'ZTAgent'", "[1] wake at 01/02/2030 03:04:05 by 'somebody'",
      "[2] wake at 01/02/2030 03:04:06 by 'ZTAgent' today", "wake at 01/02/2030 03:04:07 by ztbackupbytime"};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(
      log.entries,
      (Texts{"INFO: Looking for Zantrove!", "INFO: Using Zantrove! from /opt/Z.app",
             "INFO: Automated Copy Controller path is /opt/Z.app/Contents/Helpers/ztautomatedcopycontroller",
             "INFO: Creating power assertion.", "INFO: Power asssertion created - createdAssertion = 0",
             "INFO: Looking for schedules that run at 2027-03-09 12:34:20 +0100", "INFO: Found 1 matching schedules.",
             "INFO: Spawning /now here", "INFO: Canceling any existing wake events.",
             "INFO: Canceling [0]  wake at  01/02/2030 03:04:05 by 'ZTAgent'",
             "INFO: Checking one 2027-03-09 12:35:00 +0100 and two 2027-03-10 00:05:00 +0100 minute events.",
             "INFO: Sleeping for 41 seconds.", "INFO: Looking for schedules that run at 2027-03-09 12:35:01 +0100",
             "INFO: Found 1 matching schedules.", "INFO: Spawning /next", "INFO: Canceling any existing wake events.",
             "INFO: Checking one 2027-03-10 00:05:00 +0100 and two 2027-03-10 00:05:00 +0100 minute events.",
             settingWake, "INFO: Heading out, canceling power assertion."}));
  EXPECT_EQ(commands.launched, (Texts{"/opt/Z.app/Contents/Helpers/ztautomatedcopycontroller file:///now%20here",
                                      "/opt/Z.app/Contents/Helpers/ztautomatedcopycontroller file:///next"}));
  EXPECT_EQ(wakeEvents.calls, (Texts{"/opt/Z.app/Contents/MacOS/ZTAgent cancel 01/02/2030 03:04:05",
                                     "/opt/Z.app/Contents/MacOS/ZTAgent wake 3/10/2027 0:5:00"}));
  EXPECT_EQ(clock.sleeps, (std::vector<std::int64_t>{41, 10}));
  EXPECT_EQ(powerAssertions.created, Texts{"PreventUserIdleSystemSleep|ztbackupbytime Prompt Wake|Zantrove! time-based "
                                           "scheduled copy check."});
  EXPECT_EQ(powerAssertions.released, std::vector<std::uint32_t>{42});
}

TEST_F(Run, ServesEachMinuteOnce) {
  struct Row {
    const char* reason;
    std::chrono::seconds second;     // of the minute in which the first pass begins
    std::chrono::seconds workTakes;  // in that pass
    std::chrono::seconds change;     // of the clock in the first sleep
    std::vector<std::int64_t> sleeps;
    std::size_t copies;
  };
  const std::vector<Row> rows = {
      {"first second", 0s, 0s, 0s, {61, 10}, 2},
      {"last second", 59s, 0s, 0s, {2, 10}, 2},
      {"the minute ends meanwhile", 59s, 1s, 0s, {1, 10}, 2},
      {"and the next has begun", 58s, 5s, 0s, {0, 10}, 2},
      {"set back within the minute", 30s, -10s, 0s, {41, 10}, 2},
      {"set back into it during the sleep", 30s, 0s, -3s, {31, 3, 10}, 2},
      {"set back by an hour: on from there", 30s, -1h, 0s, {31, 10}, 1},
  };
  for (const auto& row : rows) {
    clock = FakeClock(at("2027-03-09 12:34:00 +0100") + row.second);
    clock.changeInFirstSleep = row.change;
    commands = {};
    commands.crontab = {now, next};
    commands.whileRunning = [&] {
      if (commands.commands.size() == 1) clock.time += row.workTakes;
    };
    EXPECT_EQ(run(), 0) << row.reason;
    EXPECT_EQ(clock.sleeps, row.sleeps) << row.reason;
    EXPECT_EQ(commands.launched.size(), row.copies) << row.reason;
  }
}

TEST_F(Run, LooksAgainWhereItsWakeEventCameWhileItWaited) {
  struct Row {
    const char* reason;
    const char* waitEnds;
    std::vector<std::int64_t> sleeps;
    std::size_t copies;
  };
  const std::vector<Row> rows = {
      {"woken by it", "2027-03-10 00:05:03 +0100", {10, 10}, 1},
      {"a second early", "2027-03-10 00:04:59 +0100", {10, 2, 10}, 1},
      {"by somebody, before", "2027-03-10 00:04:58 +0100", {10}, 0},
      {"too late for that copy", "2027-03-10 00:06:00 +0100", {10, 10}, 0},
  };
  commands.crontab = {tomorrow};
  for (const auto& row : rows) {
    clock = FakeClock(at("2027-03-09 12:34:20 +0100"));
    clock.changeInFirstSleep = at(row.waitEnds) - clock.time - 10s;
    commands.launched.clear();
    EXPECT_EQ(run(), 0) << row.reason;
    EXPECT_EQ(clock.sleeps, row.sleeps) << row.reason;
    EXPECT_EQ(commands.launched.size(), row.copies) << row.reason;
  }
}

TEST_F(Run, EndsWithoutAWakeWhereNothingCanFire) {
  const Texts neverFiring{"75\t12\t*\t*\t*\tZTUtil a", "34\t12\t*\t*\t7\tZTUtil b", "34\t12\t15\t*\t*\tZTUtil c"};
  for (const auto& crontab : {std::optional<Texts>{}, {Texts{}}, {neverFiring}}) {
    commands.crontab = crontab;
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(log.entries.size(), 9U);
    EXPECT_EQ(log.entries.at(7), "INFO: Canceling any existing wake events.");
  }
  EXPECT_TRUE(clock.sleeps.empty());
  EXPECT_TRUE(wakeEvents.calls.empty());
}

TEST_F(Run, LosesNothingElseByABrokenLine) {
  const std::string noWord = "34\t12\t*\t*\t*\tZTUtil ", noURL = noWord + "a[b", late = "33\t12\t*\t*\t*\tZTUtil ";
  commands.crontab = {now, noWord, "34\t12\t*\t*\t7\tZTUtil never", noURL, late, now};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(commands.launched, Texts(2, "/opt/Z.app/Contents/Helpers/ztautomatedcopycontroller file:///now%20here"));
  EXPECT_EQ(lines(output.str()).size(), 2U) << "a message for each broken line that was due";
  EXPECT_EQ(commands.commands.size(), 5U) << "the crontab, and a shell for each of the four lines that were due";
  EXPECT_EQ(wakeEvents.calls, Texts{"/opt/Z.app/Contents/MacOS/ZTAgent wake 3/10/2027 12:33:00"});
}

TEST_F(Run, PrefersTheRunningApplication) {
  applications.runningCopies = {"/home/a/First.app", "/home/a/Second.app"};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(log.entries.at(1), "INFO: Using Zantrove! from /home/a/First.app");

  applications.runningCopies.front().reset();
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(log.entries.at(1), "INFO: Using Zantrove! from /opt/Z.app") << "the first has no location";

  powerAssertions = {};
  applications.installedCopy.reset();
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(log.entries, (Texts{"INFO: Looking for Zantrove!", "ERROR: Couldn't find Zantrove! application"}));
  EXPECT_TRUE(powerAssertions.created.empty());
}

}  // namespace
}  // namespace zt
