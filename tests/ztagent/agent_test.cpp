#include "ztagent/agent.h"

#include <unistd.h>

#include "support/fakes.h"
#include "support/test.h"

/// A machine at 2027-10-30 12:00:30 UTC, the day before clocks in Europe are set back.
struct FakeMachine : Clock, ServiceManager {
  Instant now() const override { return clock; }
  Uptime uptime() const override { return {}; }
  bool sleep(std::chrono::seconds) override { return true; }

  std::vector<std::string> waitingTimers() override {
    if (!isThere) throw ServiceManagerError("Nobody there.");
    return {timers.begin(), timers.end()};
  }
  bool start(const std::string& unit) override {
    if (!isThere) throw ServiceManagerError("Nobody there.");
    clock += startTakes;
    if (canArm) timers.insert(unit);
    return canArm;
  }
  void stop(const std::string& unit) override { timers.erase(unit); }
  bool isActive(const std::string& unit) override { return unit == "ztbackupbytime.timer" && isEnabled; }
  bool hasWakeClock() const override { return hasClock; }

  /// The message of the failure, or else the timers in alphabetical order.
  std::string outcomeOf(const std::function<void(Agent&)>& request, const char* zoneName = "UTC0") {
    const Zone zone(zoneName);
    Agent agent({*this, zone.calendar, commands, *this});
    try {
      request(agent);
    } catch (const AgentFailure& failure) {
      return (failure.level == LogLevel::error ? "error: " : "notice: ") + std::string(failure.what());
    }
    std::string all;
    for (const auto& timer : timers) all.append(all.empty() ? "" : " ").append(timer);
    return all;
  }
  std::string afterWake(const std::string& time, const char* zone = "UTC0") {
    return outcomeOf([&](Agent& agent) { agent.wake(time); }, zone);
  }
  std::string afterArm() {
    return outcomeOf([](Agent& agent) { agent.arm(); });
  }

  Instant clock = at("2027-10-30 12:00:30 +0000");
  std::chrono::seconds startTakes = 0s;
  bool isThere = true, canArm = true, isEnabled = true, hasClock = true;
  std::set<std::string> timers;
  FakeCommands commands;
};

static std::string timerAt(const std::string& time) {
  return "ztbackupbytime-wake@" + std::to_string(at(time).time_since_epoch().count()) + ".timer";
}

TEST(Agent, SetsAnEventAtTheFirstInstantToCome) {
  const auto* const berlin = "Europe/Berlin";
  const auto noEvent = [](const std::string& rest) { return "error: no wake event at " + rest; };
  const auto noTime = [](const std::string& text) {
    return "error: '" + text + "' is no date and time such as 3/5/2027 7:3:00.";
  };
  struct Row {
    const char* time;
    const char* zone;
    std::string outcome;
  };
  const std::vector<Row> rows = {
      {"3/5/2028 7:3:0", "UTC0", timerAt("2028-03-05 07:03 +0000")},
      {"03/05/2028 07:03:00", "Asia/Kathmandu", timerAt("2028-03-05 07:03 +0545")},
      {"3/5/2028 7:3:0", "TST+9:8:9", timerAt("2028-03-05 16:11:09 +0000")},  // an offset with seconds
      {"10/30/2027 12:0:31", "UTC0", timerAt("2027-10-30 12:00:31 +0000")},
      {"10/30/2027 12:0:30", "UTC0", noEvent("2027-10-30 12:00:30: that time has passed.")},
      {"10/31/2027 2:30:0", berlin, timerAt("2027-10-31 02:30 +0200")},                       // the first of two
      {"10/30/2027 12:0:31", "AAA0BBB-1,J99,J303/13", timerAt("2027-10-30 12:00:31 +0000")},  // the second of two
      {"3/26/2028 2:30:0", berlin, noEvent("2028-03-26 02:30:00: the clocks skip that time.")},
      {"2/30/2028 7:3:0", "UTC0", noTime("2/30/2028 7:3:0")},
      {"3/5/2028 7:3", "UTC0", noTime("3/5/2028 7:3")},
      {"3/5/2028 7:3:60", "UTC0", noTime("3/5/2028 7:3:60")},
      {"3/5/28 7:3:0", "UTC0", noTime("3/5/28 7:3:0")},
      {"3/5/2028 7:3:0 x", "UTC0", noTime("3/5/2028 7:3:0 x")},
      {" 3/5/2028 7:3:0", "UTC0", noTime(" 3/5/2028 7:3:0")},
      {"3/5/20287:3:0", "UTC0", noTime("3/5/20287:3:0")},
      {"", "UTC0", noTime("")},
  };
  for (const auto& [time, zone, outcome] : rows) EXPECT_EQ(FakeMachine().afterWake(time, zone), outcome) << time;
}

TEST(Agent, SaysWhyAnEventCannotBeSet) {
  const auto afterFailure = [](bool isEnabled, bool hasClock) {
    FakeMachine machine;
    machine.canArm = false;
    machine.isEnabled = isEnabled;
    machine.hasClock = hasClock;
    const std::string start = ": no wake event at 2028-03-05 07:03:00: systemd could not arm the timer. ";
    const auto outcome = machine.afterWake("3/5/2028 7:3:0");
    const auto rest = outcome.find(start);
    return rest == outcome.npos ? outcome : outcome.substr(0, rest + 2) + outcome.substr(rest + start.size());
  };
  EXPECT_NE(afterFailure(true, true).find("(CAP_WAKE_ALARM)"), std::string::npos);
  EXPECT_NE(afterFailure(true, true).find("user@" + std::to_string(::getuid()) + ".service"), std::string::npos);
  EXPECT_EQ(afterFailure(true, false),
            "notice: This machine has no clock that could wake it; copies are made while it is awake.");
  EXPECT_EQ(afterFailure(false, false), "notice: ztbackupbytime.timer is not active.");
  FakeMachine machine;
  machine.canArm = false;
  machine.startTakes = 1s;
  EXPECT_EQ(machine.afterWake("10/30/2027 12:0:31"), "") << "it has come meanwhile";
  machine.isThere = false;
  EXPECT_EQ(machine.afterWake("3/5/2028 7:3:0"),
            "error: no wake event at 2028-03-05 07:03:00: systemd could not arm the timer. Nobody there.");
  EXPECT_EQ(machine.outcomeOf([](Agent& agent) { agent.cancel("3/5/2028 7:3:0"); }),
            "error: no wake event at 2028-03-05 07:03:00 is cancelled. Nobody there.");
}

TEST(Agent, ListsAndCancelsEventsOfThisAndOfTheOldVersionOnly) {
  FakeMachine machine;
  const Texts others = {"ztbackupbytime.timer",         "ZTAgent-foreign.timer",
                        "ztbackupbytime-wake@x.timer",  "ZTAgent-2027-13-05-07-03-00.timer",
                        "ZTAgent-2028-3-5-7-3-0.timer", "ZTAgent-2028-03-05-07-03-00.service"};
  machine.timers = {others.begin(), others.end()};
  const std::set<std::string> foreign = machine.timers;
  // Both instants of a repeated time, one that is not a whole minute, and two of the old version.
  for (const auto& time : {"2027-10-31 02:30 +0200", "2027-10-31 02:30 +0100", "2027-10-30 14:00:31 +0200"})
    machine.timers.insert(timerAt(time));
  machine.timers.insert({"ZTAgent-2027-10-31-02-30-00.timer", "ZTAgent-2028-12-31-23-59-59.timer"});

  const Zone berlin("Europe/Berlin");
  Agent agent({machine, berlin.calendar, machine.commands, machine});
  EXPECT_EQ(agent.list(),
            (Texts{"[0] wake at 10/30/2027 14:00:31 by 'ZTAgent'", "[1] wake at 10/31/2027 02:30:00 by 'ZTAgent'",
                   "[2] wake at 10/31/2027 02:30:00 by 'ZTAgent'", "[3] wake at 10/31/2027 02:30:00 by 'ZTAgent'",
                   "[4] wake at 12/31/2028 23:59:59 by 'ZTAgent'"}));
  for (const auto* time : {"10/31/2027 2:30:0", "10/30/2027 14:00:31", "12/31/2028 23:59:59"}) agent.cancel(time);
  EXPECT_EQ(machine.timers, foreign);
  EXPECT_EQ(machine.outcomeOf([](Agent& other) { other.cancel("12/31/2028 23:59:59"); }),
            "notice: no wake event at 2028-12-31 23:59:59 is cancelled: none is set.");
}

TEST(Agent, ArmsTheNextScheduleUnlessItIsSet) {
  FakeMachine machine;
  machine.commands.crontab = {lineText("0 12 * * *"), lineText("1 12 * * 0"), lineText("0 3 * * *"),
                              "0 13 * * * other"};
  const auto next = timerAt("2027-10-31 03:00 +0000");
  EXPECT_EQ(machine.afterArm(), next) << "not what is due in this minute";
  EXPECT_EQ(machine.afterArm(), next);
  machine.timers = {"ZTAgent-2027-10-31-03-00-00.timer"};
  EXPECT_EQ(machine.afterArm(), "ZTAgent-2027-10-31-03-00-00.timer") << "of the old version";

  machine.timers = {timerAt("2028-01-01 01:01 +0000")};
  machine.commands.crontab = {lineText("1 12 * * *")};
  EXPECT_EQ(machine.afterArm(), timerAt("2027-10-30 12:01 +0000") + " " + timerAt("2028-01-01 01:01 +0000"))
      << "nothing is cancelled";
  machine.timers.clear();
  machine.commands.crontab = {lineText("75 12 * * *")};
  EXPECT_EQ(machine.afterArm(), "");
  machine.isThere = false;
  EXPECT_EQ(machine.afterArm(), "");
  EXPECT_EQ(machine.outcomeOf([&](Agent& agent) { agent.arm(machine.now()); }), "") << "its time has come";
  machine.commands.crontab = {lineText("1 12 * * *")};
  EXPECT_EQ(machine.afterArm(), "error: no wake event is set. Nobody there.");
  machine.commands.toFail = machine.commands.all.size() + 1;
  EXPECT_EQ(machine.afterArm(), "error: no wake event is set. crontab was killed.");
}
