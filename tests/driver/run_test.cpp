#include "driver/run.h"

#include <map>

#include "support/fakes.h"
#include "support/test.h"

const std::string controller = "/opt/Z.app/Contents/Helpers/ztautomatedcopycontroller";
const std::string agent = "/opt/Z.app/Contents/MacOS/ZTAgent";

struct SharedFakes : FakeFileManager, FakeCommands, FakeWakeEvents, FakeUnifiedLog, FakePlainLog {};

/// A run at 12:34:20 on a Tuesday. The application is installed, and not running, and its agent works.
struct FakeRun : Clock, Applications, PowerAssertions, std::stringbuf, SharedFakes {
  using Paths = std::vector<std::optional<fs::path>>;

  int runToEnd() {
    executables = {agent};
    std::ostream output(this);
    const LogSinks logs{hasUnifiedLog ? this : nullptr, *this};
    return zt::run({*this, zone.calendar, *this, *this, *this, *this, *this, logs, output});
  }

  Instant now() const override { return time; }
  bool sleep(std::chrono::seconds duration) override {
    add("sleep " + std::to_string(duration.count()));
    ++sleeps;
    const auto change = changesInSleeps[sleeps];
    const bool endsEarly = change > 0s;
    pass((endsEarly ? 4s : duration) + asleepInSleeps[sleeps], asleepInSleeps[sleeps]);
    time += change;
    return !endsEarly;
  }
  Uptime uptime() const override { return up; }
  Paths running(std::string_view, const Refused&) const override { return add("running") ? runningCopies : Paths(); }
  std::optional<fs::path> installed(std::string_view, const Refused& refused) const override {
    if (add("installed")) return "/opt/Z.app";
    refused("Not using /Applications/Z.app: others can write it");
    return std::nullopt;
  }
  Created create(std::string_view type, std::string_view name, std::string_view details) override {
    const auto call = std::string("create ").append(type).append("|").append(name).append("|").append(details);
    return {.result = add(call) ? 0 : -5, .identifier = 42};
  }
  void release(std::uint32_t identifier) override { add("release " + std::to_string(identifier)); }
  int sync() override {  // has to take what is printed
    const auto text = str();
    str({});
    return add("print " + text) ? 0 : -1;
  }

  Zone zone{"CET-1CEST,M3.5.0,M10.5.0/3"};
  Instant time = at("2027-03-09 12:34:20 +0100");
  Uptime up{.total = 2h, .awake = 1h};
  int sleeps = 0;
  void pass(std::chrono::seconds duration, std::chrono::seconds asleep = 0s) {
    time += duration;
    up.total += duration;
    up.awake += duration - asleep;
  }
  std::map<int, std::chrono::seconds> asleepInSleeps, changesInSleeps;  ///< by number: the machine sleeps; clock set
  Paths runningCopies;
  bool hasUnifiedLog = false;
};

const std::string readsCrontab = "run /usr/bin/crontab -l";

/// A line that is due in a minute after 12.
static std::string lineAt(const std::string& minute, const std::string& word) {
  return lineText(minute + " 12 * * *", "ZTUtil " + word);
}

const Texts crontabLines = {lineAt("34", "1st%20copy"), lineAt("35", "a[b"), lineAt("35", "2nd"), lineAt("35", "3rd"),
                            lineAt("36", "4th")};

const Texts wakeEvents = {
    "[0] wake at 01/02/2030 03:04:01 by 'somebody'", "[1] wake at 01/02/2030 03:04:02 by 'ZTAgent' today",
    "wake at 01/02/2030 03:04:03 by ztbackupbytime", "[2]  wake at  01/02/2030 03:04:04 by 'ZTAgent'",
    "[3] wake at 01/02/2030 03:04:05 by ztbackupbytime"};

/// The calls that a run of three passes is to make. If one fails, these are all calls but those that need that one.
struct ExpectedRun : CallRecord {
  int runToEnd() {
    log("Looking for Zantrove!");
    const bool isFound = (add("running") && isRunning) || add("installed");
    if (!isFound) {
      add("log DEFAULT: Not using /Applications/Z.app: others can write it");
      add("log ERROR: Couldn't find Zantrove! application");
      return 1;
    }
    log("Using Zantrove! from /opt/Z.app");
    log("Automated Copy Controller path is " + controller);
    log("Creating power assertion.");
    const bool isAsserted =
        add("create PreventUserIdleSystemSleep|ztbackupbytime Prompt Wake|Zantrove! time-based scheduled copy check.");
    log(std::string("Power asssertion created - createdAssertion = ") + (isAsserted ? "0" : "-5"));
    runPasses();
    log("Heading out, canceling power assertion.");
    if (isAsserted) add("release 42");
    return 0;
  }

  void runPasses() {
    if (!servesMinute("34", "20", {"1st%20copy"})) return;
    log("Checking one 2027-03-09 12:35:00 +0100 and two 2027-03-09 12:36:00 +0100 minute events.");
    log("Sleeping for 41 seconds.");
    add("sleep 41");
    if (!servesMinute("35", "01", {"a[b", "2nd", "3rd"})) return;
    log("Checking one 2027-03-09 12:36:00 +0100 and two 2027-03-10 12:34:00 +0100 minute events.");
    log("Sleeping for 60 seconds.");
    add("sleep 60");
    if (!servesMinute("36", "01", {"4th"})) return;
    log("Checking one 2027-03-10 12:34:00 +0100 and two 2027-03-10 12:34:00 +0100 minute events.");
    log("Next event more than 1 minute from now, setting wake, then sleeping 10 seconds for launchd ThrottleInterval.");
    if (add("executable? " + agent)) addProgram(agent + " wake 3/10/2027 12:34:00");
    add("sleep 10");
  }

  /// Starts the copies that are due and cancels the wake events. Gives whether the crontab can be read: without it, the
  /// events stay.
  bool servesMinute(const std::string& minute, const std::string& second, const Texts& due) {
    log("Looking for schedules that run at 2027-03-09 12:" + minute + ":" + second + " +0100");
    if (!addProgram("run /usr/bin/crontab -l")) return false;
    Texts urls;
    for (const auto& word : due) {
      if (isURL(word, minute)) urls.push_back(word);
    }
    log("Found " + std::to_string(urls.size()) + " matching schedules.");
    const std::string start = "start " + controller + " ";
    for (const auto& url : urls) {
      log("Spawning " + (url == "1st%20copy" ? "1st copy" : url));
      if (!add(start + url)) throw EndOfProcess();
    }
    log("Canceling any existing wake events.");
    if (addProgram(agent + " list")) {
      cancel(wakeEvents[3], "01/02/2030 03:04:04");
      cancel(wakeEvents[4], "01/02/2030 03:04:05");
    }
    return true;
  }

  bool isURL(const std::string& word, const std::string& minute) {
    const auto fromLine = " from \"" + lineAt(minute, word) + "\".\n";
    if (!addProgram("run /bin/bash -c echo -n " + word)) {
      add("print ztbackupbytime: failed to unescape \"ZTUtil " + word + "\"" + fromLine);
      return false;
    }
    if (word != "a[b") return true;
    add("print ztbackupbytime: unable to create URL from unescaped \"a[b\" extracted and unescaped" + fromLine);
    return false;
  }

  void cancel(const std::string& event, const std::string& date) {
    if (!add("executable? " + agent)) return;
    log("Canceling " + event);
    addProgram(agent + " cancel " + date);
  }

  void log(const std::string& message) { add("log INFO: " + message); }

  bool isRunning = false;
};

/// All calls of a run, and its exit status, one a line.
static std::string callsOf(auto& run) {
  try {
    run.add("exit " + std::to_string(run.runToEnd()));
  } catch (const EndOfProcess&) {
  }
  std::string text;
  for (const auto& call : run.all) text += call + "\n";
  return text;
}

TEST(Run, LeavesOutOnlyTheCallsThatNeedACallThatFails) {
  for (const auto& [isRunning, programsStart] : {std::pair(true, true), {false, false}}) {
    std::size_t count = 0;
    for (std::size_t toFail = 0; toFail <= count; ++toFail) {
      ExpectedRun expected;
      FakeRun run;
      expected.toFail = run.toFail = toFail;
      expected.programsStart = run.programsStart = programsStart;
      expected.isRunning = run.hasUnifiedLog = isRunning;
      if (isRunning) run.runningCopies = {"/opt/Z.app"};
      run.crontab = crontabLines;
      run.events = wakeEvents;
      EXPECT_EQ(callsOf(run), callsOf(expected)) << "call " << toFail << " fails";
      if (toFail == 0) count = expected.all.size();
    }
  }
}

const std::string thisMinute = lineAt("34", "now"), nextMinute = lineAt("35", "next");
const std::string tomorrow = lineText("5 0 * * 3", "ZTUtil tomorrow");

/// Checks how long a run sleeps each time, and which copies it starts.
static void expectRun(FakeRun& run, const Texts& sleeps, const Texts& copies, const char* reason) {
  EXPECT_EQ(run.runToEnd(), 0) << reason;
  EXPECT_EQ(run.of("sleep"), sleeps) << reason;
  EXPECT_EQ(run.of("start " + controller), copies) << reason;
}

TEST(Run, ServesEachMinuteOnce) {
  // `start` is in seconds after 12:34.
  const auto expect = [](const char* reason, auto start, std::chrono::seconds changeInPass, auto changeInSleep,
                         const Texts& sleeps, const Texts& copies) {
    FakeRun run;
    run.time = at("2027-03-09 12:34:00 +0100") + start;
    run.meanwhile[readsCrontab] = [&] { run.time += changeInPass; };
    run.changesInSleeps[1] = changeInSleep;
    run.crontab = {thisMinute, nextMinute};
    expectRun(run, sleeps, copies, reason);
  };
  expect("first second", 0s, 0s, 0s, {"61", "10"}, {"now", "next"});
  expect("last second", 59s, 0s, 0s, {"2", "10"}, {"now", "next"});
  expect("the minute ends during the pass", 59s, 1s, 0s, {"1", "10"}, {"now", "next"});
  expect("the next minute begins during the pass", 58s, 5s, 0s, {"0", "10"}, {"now", "next"});
  expect("set back by an hour during the pass: continues from there", 30s, -1h, 0s, {"31", "10"}, {"now"});
  expect("set back within the minute", 30s, -10s, 0s, {"41", "10"}, {"now", "next"});
  expect("set back into the minute during the sleep", 30s, 0s, -3s, {"31", "3", "10"}, {"now", "next"});
  expect("set back to the start of the minute during the sleep", 30s, 0s, -61s, {"31", "61", "10"}, {"now", "next"});
  expect("set back by an hour: continues from there", 30s, -1h, 0s, {"31", "10"}, {"now"});

  FakeRun later;
  later.crontab = {thisMinute, nextMinute, lineAt("36", "third")};
  later.changesInSleeps[2] = -90s;
  expectRun(later, {"41", "60", "30", "60", "10"}, {"now", "next", "third"}, "set back by two minutes that are served");
  FakeRun ending;
  ending.crontab = {thisMinute, lineAt("33", "before")};
  ending.changesInSleeps[1] = -2min;
  expectRun(ending, {"10"}, {"now"}, "set back in the last wait: another run has served those minutes");
  FakeRun forthAgain;
  forthAgain.crontab = {thisMinute, nextMinute};
  forthAgain.changesInSleeps = {{1, -3min}, {2, 160s}};
  expectRun(forthAgain, {"41", "10", "16", "10"}, {"now", "next"}, "the event comes again in a minute that is served");
  FakeRun repeated;
  repeated.time = at("2027-10-31 02:34:20 +0200");
  repeated.asleepInSleeps[1] = 1h;
  repeated.crontab = {lineText("34 2 * * *", "ZTUtil copy")};
  expectRun(repeated, {"10", "10"}, {"copy", "copy"}, "a time that is repeated fires twice");
}

TEST(Run, MakesAnotherPassIfItsWakeEventIsDueBeforeItEnds) {
  const auto expect = [](const char* reason, const char* passEnds, const char* waitEnds, const Texts& sleeps,
                         const Texts& copies) {
    FakeRun run;
    run.meanwhile[readsCrontab] = [&] { run.pass(at(passEnds) - run.time); };
    run.asleepInSleeps[1] = at(waitEnds) - at(passEnds) - 10s;
    run.crontab = {tomorrow};
    expectRun(run, sleeps, copies, reason);
  };
  const char* soon = "2027-03-09 12:34:20 +0100";
  const char* lateInMinute = "2027-03-09 12:34:55 +0100";
  expect("woken by the event", soon, "2027-03-10 00:05:03 +0100", {"10", "10"}, {"tomorrow"});
  expect("a second early", soon, "2027-03-10 00:04:59 +0100", {"10", "2", "10"}, {"tomorrow"});
  expect("woken earlier, by something else", soon, "2027-03-10 00:04:58 +0100", {"10", "3", "10"}, {"tomorrow"});
  expect("woken even earlier", soon, "2027-03-09 23:00:00 +0100", {"10", "10"}, {});
  expect("woken in the same minute: the crontab can be another one", soon, "2027-03-09 12:34:59 +0100", {"10", "10"},
         {});
  expect("too late for that copy", soon, "2027-03-10 00:06:00 +0100", {"10", "10"}, {});
  expect("a short sleep into the next minute", lateInMinute, "2027-03-09 12:35:07 +0100", {"10", "10"}, {});
  expect("no sleep", lateInMinute, "2027-03-09 12:35:05 +0100", {"10"}, {});
  expect("no pass has handled the minute of the wait", "2027-03-09 12:35:05 +0100", "2027-03-09 12:35:40 +0100",
         {"10", "10"}, {});
  expect("awake, the event comes a second after the wait", "2027-03-10 00:04:49 +0100", "2027-03-10 00:04:59 +0100",
         {"10", "2", "10"}, {"tomorrow"});
  expect("the event comes as the pass ends", "2027-03-10 00:05:00 +0100", "2027-03-10 00:05:10 +0100", {"10"},
         {"tomorrow"});
  FakeRun served;
  served.crontab = {thisMinute};
  served.asleepInSleeps[1] = 20s;
  expectRun(served, {"10", "11", "10"}, {"now"}, "woken in a minute that is served: the event can be for the next one");
  // A sleep ends after four seconds if the clock is set forward.
  const auto expectSet = [](const char* reason, auto change, std::chrono::seconds asleep, std::ptrdiff_t passes,
                            const Texts& sleeps) {
    FakeRun run;
    run.changesInSleeps[1] = change;
    run.asleepInSleeps[1] = asleep;
    run.crontab = {tomorrow};
    expectRun(run, sleeps, {}, reason);
    EXPECT_EQ(std::ranges::count(run.all, readsCrontab), passes) << reason;
  };
  expectSet("set forward", 2s, 0s, 2, {"10", "10"});
  expectSet("hardly set forward, as the clock tells whole seconds: waits for the rest", 1s, 0s, 1, {"10", "6"});
  expectSet("set back, and then asleep", -24h, 1h, 2, {"10", "10"});
}

TEST(Run, MakesAnotherPassIfTheFirstOneCanHaveMissedSomething) {
  // During the first `call`, time passes, the machine is suspended or its clock is set, and the crontab is replaced.
  enum Event { slow, suspended, set };
  const auto expect = [](const char* reason, const std::string& call, const std::optional<Texts>& crontab,
                         const char* callEnds, Event event, std::ptrdiff_t passes, const Texts& sleeps,
                         const Texts& copies) {
    FakeRun run;
    run.crontab = crontab;
    run.meanwhile[call] = [&] {
      const auto duration = at(callEnds) - run.time;
      if (event == set) {
        run.time += duration;
      } else {
        run.pass(duration, event == suspended ? duration : 0s);
      }
      if (!crontab) run.toFail = run.all.size();
      run.crontab = {tomorrow};
    };
    expectRun(run, sleeps, copies, reason);
    EXPECT_EQ(std::ranges::count(run.all, readsCrontab), passes) << reason;
  };
  const auto lists = agent + " list", sets = agent + " wake 3/10/2027 0:5:00";
  const char* late = "2027-03-09 12:34:59 +0100";
  const char* after = "2027-03-09 12:35:00 +0100";
  const char* event = "2027-03-10 00:05:00 +0100";
  const char* before = "2027-03-10 00:04:59 +0100";
  const char* nearlyOver = "2027-03-10 00:05:52 +0100";
  expect("crontab is only slow", readsCrontab, Texts{tomorrow}, after, slow, 1, {"10"}, {});
  expect("suspended during crontab", readsCrontab, Texts{tomorrow}, late, suspended, 2, {"10"}, {});
  expect("set forward during crontab", readsCrontab, Texts{tomorrow}, late, set, 2, {"10"}, {});
  expect("set forward during the listing", lists, Texts{tomorrow}, event, set, 2, {"10"}, {"tomorrow"});
  expect("crontab is killed", readsCrontab, {}, late, slow, 1, {}, {});
  expect("crontab is killed in the next minute: its event has come", readsCrontab, {}, after, slow, 2, {"10"}, {});
  expect("suspended, and crontab is killed", readsCrontab, {}, late, suspended, 2, {"10"}, {});
  expect("an empty crontab is replaced", lists, Texts{}, event, suspended, 2, {"10"}, {"tomorrow"});
  expect("woken a second early", lists, Texts{tomorrow}, before, suspended, 3, {"2", "10"}, {"tomorrow"});
  expect("no wait before a copy", sets, Texts{tomorrow}, nearlyOver, suspended, 2, {"10"}, {"tomorrow"});

  FakeRun killed;
  killed.crontab = {tomorrow};
  killed.meanwhile[readsCrontab] = [&] {
    killed.pass(30s, 30s);
    killed.meanwhile[readsCrontab] = [&] { killed.toFail = killed.all.size(); };
  };
  expectRun(killed, {}, {}, "suspended during crontab, which is killed in the next pass");
  EXPECT_EQ(killed.of(agent), (Texts{"list", "wake 3/10/2027 0:5:00"})) << "the first pass sets the event";

  FakeRun tooLate;
  tooLate.crontab = {tomorrow};
  tooLate.meanwhile[lists] = [&] { tooLate.pass(at(event) - tooLate.time); };
  expectRun(tooLate, {"10"}, {"tomorrow"}, "the event comes before it is set");
  EXPECT_EQ(tooLate.of(agent), (Texts{"list", "list", "wake 3/17/2027 0:5:00"})) << "none is set in the past";
}

TEST(Run, TakesUpAChangeOfTheTimeZoneInTheNextPass) {
  FakeRun run;
  run.crontab = {nextMinute, lineText("36 13 * * *", "ZTUtil ahead")};
  run.meanwhile[readsCrontab] = [] { ::setenv("TZ", "AAA-2", 1); };
  expectRun(run, {"41", "60", "10"}, {"ahead"}, "it is 13:35 in the next pass");

  FakeRun inWait;
  inWait.crontab = {thisMinute, lineText("34 13 * * *", "ZTUtil ahead")};
  inWait.meanwhile[agent + " wake 3/9/2027 13:34:00"] = [] { ::setenv("TZ", "AAA-2", 1); };
  expectRun(inWait, {"10"}, {"now", "ahead"}, "it is 13:34 at once, a minute that has not been served");

  struct : FakeRun {
    bool sleep(std::chrono::seconds duration) override {
      const bool isOver = FakeRun::sleep(duration);
      if (sleeps == 4) ::setenv("TZ", "AAA-2", 1);
      return isOver;
    }
  } setBack;
  setBack.crontab = {thisMinute, nextMinute, lineAt("36", "third"), lineText("36 13 * * *", "ZTUtil ahead")};
  setBack.changesInSleeps[2] = -90s;
  expectRun(setBack, {"41", "60", "30", "60", "10"}, {"now", "next", "ahead"}, "while it sleeps past served minutes");
}

TEST(Run, EndsWithoutAWakeEventIfNoLineCanFire) {
  const Texts neverFiring{lineText("75 12 * * *"), lineText("34 12 * * 7"), lineText("34 12 15 * *")};
  for (const auto& crontab : {Texts{}, neverFiring}) {
    FakeRun run;
    run.crontab = crontab;
    expectRun(run, {}, {}, "nothing can fire");
    EXPECT_EQ(run.of("run"), Texts{"/usr/bin/crontab -l"});
    EXPECT_EQ(run.of(agent), Texts{"list"});
    EXPECT_EQ(run.of("log").size(), 9U);
  }
}

TEST(Run, IgnoresBrokenLines) {
  FakeRun run;
  const auto noWord = lineText("34 12 * * *", "ZTUtil "), noMarker = lineText("34 12 * * *", "other");
  const auto late = lineText("33 12 * * *", "ZTUtil a[b"), bad = lineText("34 12 * * *", "ZTUtil a[b");
  run.crontab = {thisMinute, noWord,    lineText("34 12 * * 7"), bad, noMarker, thisMinute + "\tseventh field",
                 late,       thisMinute};
  expectRun(run, {"10"}, {"now", "now"}, "the others are used");
  EXPECT_EQ(run.of("print").size(), 2U) << "a message for each broken line that is due";
  EXPECT_EQ(run.of("run").size(), 5U) << "the crontab, and a shell for each line that is due";
  EXPECT_EQ(run.of(agent), (Texts{"list", "wake 3/10/2027 12:33:00"}));
}

TEST(Run, UsesTheRunningApplicationThatWasStartedFirst) {
  const auto used = [](const FakeRun::Paths& running) {
    FakeRun run;
    run.runningCopies = running;
    EXPECT_EQ(run.runToEnd(), 0);
    return run.of("log").at(1);
  };
  EXPECT_EQ(used({"/home/First.app", "/home/Second.app"}), "INFO: Using Zantrove! from /home/First.app");
  EXPECT_EQ(used({std::nullopt, "/home/Second.app"}), "INFO: Using Zantrove! from /opt/Z.app") << "no location";
}

TEST(Run, NamesEachCopyAfterTheLastNameOfItsPath) {
  FakeRun run;
  run.crontab.emplace();
  for (const auto* word :
       {"file:///a/Holiday%20plans/?b#c", "caf%C3%A9", "file:///", "a/%0A", "a/%FF", "a/%E2%80%AE", "file://host"})
    run.crontab->push_back(lineAt("34", word));
  EXPECT_EQ(run.runToEnd(), 0);
  EXPECT_EQ(run.descriptions, (Texts{"Copy of Holiday plans", "Copy of café", "Copy of /", "Copy of a/%0A",
                                     "Copy of a/%FF", "Copy of a/%E2%80%AE", "Copy of file://host"}));
}
