// The agent, with programs in place of systemd's that record how they are called.

#include "support/private_machine.h"

const std::string unit = "ZTAgent-2097-03-05-07-03-00";
const std::string stop = "systemctl --user stop " + unit + ".timer";
const std::string wake = "wake '3/5/2097 7:3:00'", cancel = "cancel '03/05/2097 07:03:00'";
const std::string noEvent = "no wake event at 2097-03-05 07:03:00";

struct Agent : PrivateMachine {
  Agent() {
    // Each does what the file of its name in the home folder says.
    bash(R"(mkdir ~/bin; cat > ~/bin/systemctl <<'TEXT'; chmod +x ~/bin/*
#!/bin/bash
{ echo "${0##*/} $*"; [ $1 != --journald ] || cat; } >> ~/calls
! [ -e ~/${0##*/} ] || . ~/${0##*/}
TEXT
cp ~/bin/systemctl ~/bin/systemd-run; cp ~/bin/systemctl ~/bin/logger)");
  }

  /// Runs the agent. Gives what it prints, its exit status, and the calls.
  static Texts run(const std::string& arguments, const std::string& before = "") {
    return bash("rm -f ~/calls; export TZ=UTC; " + before + "\nPATH=~/bin:$PATH " AGENT " " + arguments +
                "; echo $?; cat ~/calls 2> /dev/null");
  }

  static std::string armed(const std::string& instant, const std::string& name = unit) {
    return "systemd-run --user --quiet --collect --unit=" + name +
           " --description=Wake for a scheduled copy --on-calendar=@" + instant +
           " --timer-property=WakeSystem=yes --timer-property=AccuracySec=1us"
           " --timer-property=CollectMode=inactive-or-failed --timer-property=PartOf=ztbackupbytime.timer"
           " --property=Requisite=ztbackupbytime.timer --service-type=oneshot systemctl --user --no-block start "
           "ztbackupbytime.service";
  }

  /// What a failing run gives: the message goes to the journal, too.
  static Texts failed(const std::string& message, Texts calls = {}) {
    calls.insert(calls.begin(), {"ZTAgent: " + message, "1"});
    calls.insert(calls.end(),
                 {"logger --journald", "MESSAGE=" + message, "PRIORITY=3", "SUBSYSTEM=com.velmorra.Zantrove.Helpers",
                  "CATEGORY=ZTAgent", "SYSLOG_IDENTIFIER=ZTAgent", "USER_UNIT=ztbackupbytime.service"});
    return calls;
  }
};

TEST_F(Agent, ArmsATimerForALocalTime) {
  EXPECT_EQ(run(wake), (Texts{"0", armed("4013305380")}));
  EXPECT_EQ(run(wake, "TZ=Asia/Kathmandu"), (Texts{"0", armed("4013284680")}));
  EXPECT_EQ(run(wake, "TZ=TST+9:8:9"), (Texts{"0", armed("4013338269")})) << "an offset with seconds";
  const std::string summerTime = "TZ=CET-1CEST,M3.5.0,M10.5.0/3";
  EXPECT_EQ(run("wake '10/27/2097 2:30:0'", summerTime),
            (Texts{"0", armed("4033672200", "ZTAgent-2097-10-27-02-30-00")}))
      << "the first of a repeated time";
  EXPECT_EQ(run("wake '3/31/2097 2:30:0'", summerTime),
            failed("no wake event at 2097-03-31 02:30:00: the clocks skip that time."));
  EXPECT_EQ(run("wake '3/5/1997 7:3:00'"), failed("no wake event at 1997-03-05 07:03:00: that time has passed."));
  EXPECT_EQ(run("wake $'2/30/2097\\n7:3:00'"),
            failed("'2/30/2097 7:3:00' is no date and time such as 3/5/2027 7:3:00."));
  EXPECT_EQ(run("wake 2> /dev/null"), Texts{"2"});
}

TEST_F(Agent, TriesOnceMoreAfterARemainingTimerIsRemoved) {
  const auto arm = armed("4013305380"), stopBoth = stop + " " + unit + ".service";
  const auto reset = "systemctl --user reset-failed " + unit + ".timer " + unit + ".service";
  EXPECT_EQ(run(wake, "echo '[ -e ~/again ] || { touch ~/again; exit 1; }' > ~/systemd-run"),
            (Texts{"0", arm, stopBoth, reset, arm}));
  EXPECT_EQ(run(wake, "echo 'echo No bus.; exit 1' > ~/systemd-run"),
            failed(noEvent + ": systemd could not arm the timer. No bus.", {arm, stopBoth, reset, arm}));
}

TEST_F(Agent, CancelsATimer) {
  EXPECT_EQ(run(cancel), (Texts{"0", stop}));
  EXPECT_EQ(run(cancel, "echo 'echo Not loaded.; exit 5' > ~/systemctl"),
            failed(noEvent + " is cancelled. Not loaded.", {stop}));
}

TEST_F(Agent, ListsNoTimersOfOthers) {
  EXPECT_EQ(run("sched",
                "echo 'echo ZTAgent-2027-03-05-07-03-00.timer loaded; echo ZTAgent-x.timer loaded;"
                " echo ZTAgent-2028-12-31-23-59-59.timer loaded' > ~/systemctl"),
            (Texts{"[0] wake at 03/05/2027 07:03:00 by 'ZTAgent'", "[1] wake at 12/31/2028 23:59:59 by 'ZTAgent'", "0",
                   "systemctl --user list-units --plain --no-legend --full --state=waiting ZTAgent-*.timer"}));
}
