// The agent with a program in place of the user's service manager that records its requests.

#include "support/private_machine.h"

struct AgentProgram : PrivateMachine {
  AgentProgram() {
    bash("mkdir ~/run; " STAND_IN_MANAGER
         " ~/run &> /dev/null & for i in {1..100}; do [ -S ~/run/systemd/private ] && break; sleep 0.05; done");
  }

  /// Runs the agent. Gives what it prints, its exit status, and the requests.
  static Texts run(const std::string& arguments, const std::string& before = "") {
    return bash("rm -f ~/run/requests; export TZ=UTC XDG_RUNTIME_DIR=~/run; " + before + "\n" AGENT " " + arguments +
                "; echo $?; cat ~/run/requests 2> /dev/null");
  }

  ~AgentProgram() override { bash("pkill stand_in_manage"); }
};

TEST_F(AgentProgram, AsksTheServiceManager) {
  const std::string timer = "ztbackupbytime-wake@4013305380.timer", list = "ListUnitsByPatterns waiting *.timer";
  const std::string line = "[0] wake at 03/05/2097 07:03:00 by 'ZTAgent'";
  const std::string none = "ZTAgent: no wake event at 2097-03-05 07:03:00";
  EXPECT_EQ(run("sched"), (Texts{"0", list}));
  EXPECT_EQ(run("wake '3/5/2097 7:3:00'"), (Texts{"0", "StartUnit " + timer + " replace"}));
  EXPECT_EQ(run("sched"), (Texts{line, "0", list}));
  EXPECT_EQ(run("cancel '03/05/2097 07:03:00'"), (Texts{"0", list, "StopUnit " + timer + " replace"}));
  EXPECT_EQ(run("cancel '03/05/2097 07:03:00'"), (Texts{none + " is cancelled: none is set.", "1", list}));
  EXPECT_EQ(run("arm", "printf '3\\t7\\t*\\t*\\t*\\tZTUtil file:///a\\n' | crontab -").at(1), list);
  EXPECT_EQ(run("sched").front().substr(23), "07:03:00 by 'ZTAgent'");
  EXPECT_EQ(run("wake '3/5/2097 7:3:00'", "touch ~/run/fail"),
            (Texts{none + ": systemd could not arm the timer. ztbackupbytime.timer is not active.", "1",
                   "StartUnit " + timer + " replace"}));

  EXPECT_EQ(run("wake '3/5/2097 7:3:00'", "touch ~/run/refuse").front(),
            none + ": systemd could not arm the timer. Not " + timer + ".");
  bash("rm ~/run/refuse");

  EXPECT_TRUE(run("--version").front().starts_with("ZTAgent "));

  const std::string unreachable =
      "ZTAgent: systemd does not list its timers. The user's service manager cannot be reached: ";
  EXPECT_EQ(run("sched", "XDG_RUNTIME_DIR=/none"), (Texts{unreachable + "No such file or directory.", "1"}));
  EXPECT_EQ(run("sched", "unset XDG_RUNTIME_DIR; mkdir -p /run/user; ln -s ~/run /run/user/$UID").back(), list);
  for (const auto* wrong : {"", "wake", "wake a b", "sched a", "arm a", "WAKE a", "--help a"}) {
    EXPECT_EQ(run(std::string(wrong) + " 2> /dev/null"), Texts{"2"}) << wrong;
  }
}

TEST_F(AgentProgram, SetsTheEventAgainUntilTheMachineIsAsleep) {
  const auto printed = run("sched", R"sh(
    printf '3\t7\t*\t*\t*\tZTUtil file:///a\n' | crontab -
    agent=)sh" AGENT R"sh(
    cancel() { sleep 0.6; $agent cancel "$($agent sched | cut -d ' ' -f 4,5)"; }
    $agent arm --until-asleep & cancel; cancel; sleep 0.6; kill $!)sh");
  EXPECT_TRUE(printed.front().ends_with(" 07:03:00 by 'ZTAgent'")) << printed.front();
}

TEST_F(AgentProgram, WritesItsFailureToTheJournalUnlessAPersonSeesIt) {
  const ServiceSocket journal(SOCK_DGRAM, "/run/systemd/journal/socket");
  const auto entry = [&] {
    std::string datagram(1'000, '\0');
    const auto size = ::recv(journal.handle.fileDescriptor(), datagram.data(), datagram.size(), MSG_DONTWAIT);
    return datagram.substr(0, size < 0 ? 0 : static_cast<std::size_t>(size));
  };
  const std::string message = "'a b' is no date and time such as 3/5/2027 7:3:00.";
  EXPECT_EQ(run("wake $'a\\nb'"), (Texts{"ZTAgent: " + message, "1"}));
  EXPECT_EQ(entry(), "MESSAGE=" + message +
                         "\nPRIORITY=3\nSUBSYSTEM=com.velmorra.Zantrove.Helpers\nCATEGORY=ZTAgent\n"
                         "SYSLOG_IDENTIFIER=ZTAgent\nUSER_UNIT=ztbackupbytime.service\n");
  run("cancel '3/5/2097 7:3:00'");
  EXPECT_NE(entry().find("is cancelled: none is set.\nPRIORITY=5\n"), std::string::npos) << "nothing is wrong";
  bash("script --quiet --command '" AGENT " wake x' /dev/null");
  EXPECT_EQ(entry(), "");
}
