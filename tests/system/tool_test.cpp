// The built tool on a private machine (demo/private-machine): real crontab, bash, processes and zones, and the sample
// application. The clock is the machine's own, in a zone in which it is 12:34:05 now.

#include <signal.h>

#include "support/private_machine.h"
#include "util/time_text.h"

struct Tool : PrivateMachine {
  struct Outcome {
    std::int32_t status;
    Texts output, errors;
  };

  Tool() { bash("mkdir ~/Applications; cp -R " DEMO "/Zantrove.app ~/Applications"); }

  /// Runs the tool; `before` is what the shell that starts it does first.
  static Outcome run(const std::string& crontab, const std::string& before = "") {
    std::ofstream("/var/spool/cron/crontabs/root", std::ios::binary) << crontab;
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch());
    const auto west = (now - 12h - 34min - 5s) % 24h;
    const Zone zone(("TST+" + formatted(LocalTime{west}, "%T")).c_str());
    const Task task("/bin/bash", Texts{"-c", before + " exec " TOOL " > ~/output 2> ~/errors"});
    shell(task);
    return {task.terminationStatus(), bash("cat ~/output"), bash("cat ~/errors")};
  }

  const fs::path controller = home / "Applications/Zantrove.app/Contents/Helpers/ztautomatedcopycontroller";
};

TEST_F(Tool, ReadsEveryWordThatIsDueAsBashDoes) {
  std::string crontab = "# ZTUtil\n34 12 * * * /ZTUtil \"\n";
  const auto add = [&](const std::string& command, const char* fields = "34 12 * * *") {
    crontab += lineText(fields, command) + "\n";
  };
  for (const auto* notMarked : {"/ztutil \"", "/ZTUtil\t\""}) add(notMarked);
  for (const auto* notDue : {"33 12 * * *", "75 12 * * *", "34 12 * * 7", "#34 12 * * *"}) add("/ZTUtil \"", notDue);
  for (int i = 0; i < 1000; ++i) add("/ZTUtil many", "0 13 * * *");

  Texts arguments, messages;
  const auto addURL = [&](const std::string& command, const char* url) {
    add(command);
    arguments.emplace_back(url);
  };
  addURL("/ZTUtil file:///tmp/Copy%20Plan/", "file:///tmp/Copy%20Plan/");
  addURL(R"(/ZTUtil file:///tmp/100\%25\!)", "file:///tmp/100%25!");
  addURL(R"(/ZTUtil "file:///tmp/it's")", "file:///tmp/it's");
  addURL(R"(/ZTUtil file:///tmp/a\ b)", "b");  // a blank is a separator even if it is escaped
  addURL("file:///ZTUtil", "file:///ZTUtil");  // without a blank the whole command is the word
  addURL(R"(/ZTUtil $'one\ntwo')", "one");     // the first line counts
  addURL("/ZTUtil cr\r", "crr");               // crontab prints a carriage return as \r

  const auto addBroken = [&](const std::string& command, const std::string& problem) {
    add(command);
    messages.push_back("ztbackupbytime: " + problem + " from \"" + lineText("34 12 * * *", command) + "\".");
  };
  const std::string tooLong = "/ZTUtil " + std::string(200'000, 'a');
  for (const std::string command : {"/ZTUtil file:///a ", "/ZTUtil $none", R"(/ZTUtil $'\xff')", tooLong.c_str()}) {
    addBroken(command, "failed to unescape \"" + command + "\"");
  }
  const std::string noURL = "unable to create URL from unescaped ", from = " extracted and unescaped";
  addBroken(R"(/ZTUtil file:///a$'\x20'b)", noURL + "\"file:///a b\"" + from);
  addBroken(R"(/ZTUtil "file:///a)",
            noURL + "\"/bin/bash: -c: line 1: unexpected EOF while looking for matching `\"'\"" + from);

  const auto outcome = run(crontab);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, messages);
  std::ranges::sort(arguments);
  EXPECT_EQ(bash("LC_ALL=C sort ~/controller-arguments"), arguments);
  EXPECT_EQ(bash("grep -c \" 13:00:00 by 'ZTAgent'$\" ~/wake-events"), Texts{"1"});
  EXPECT_EQ(run(crontab + "# caf\xe9\n").output, Texts{}) << "text that is not UTF-8 has no lines";
}

TEST_F(Tool, ReadsWordsInAnyEnvironmentAndPassesItOn) {
  // Makes the controller print its environment, and the URL, which it takes for another variable.
  fs::remove(controller);
  fs::create_symlink("/usr/bin/env", controller);
  const Texts variables = {"LC_ALL=not_installed", "LD_PRELOAD=/none.so",
                           "LD_DEBUG=none",        "SHLVL=1000",
                           "SHELLOPTS=xtrace",     "BASH_COMPAT=0.1",
                           "BASH_ENV=/etc/hosts",  "SHELLOPTS=noexec",
                           "BASH_XTRACEFD=stdout", "BASH_FUNC_echo%%=() {  printf other\n}",
                           "BASH_FUNC_x%%=() {"};
  std::string runs;
  for (std::size_t i = 0; i < variables.size(); ++i) {
    runs += "env '" + variables[i] + "' " TOOL " > ~/environment." + std::to_string(i) + " 2> ~/errors &\n";
  }
  run(lineText("34 12 * * *", "ZTUtil COPY=1") + "\n", runs);
  for (std::size_t i = 0; i < variables.size(); ++i) {
    const auto count = "grep -cxF -e COPY=1 -e '" + variables[i] + "' ~/environment." + std::to_string(i);
    EXPECT_EQ(bash(count), Texts{std::to_string(std::ranges::count(variables[i], '\n') + 2)}) << variables[i];
  }
}

TEST_F(Tool, StartsNothingIfItIsGivenArguments) {
  for (const std::string arguments : {"--help", "--version", "--dry-run", "''", "-h", "--help --version"}) {
    const auto isAnswered = arguments == "--help" || arguments == "--version";
    const auto outcome = bash("exec 2> ~/errors;" TOOL " " + arguments + "; echo $?");
    EXPECT_EQ(outcome.back(), isAnswered ? "0" : "2") << arguments;
    EXPECT_EQ(outcome.size() > 1, isAnswered) << arguments;
    EXPECT_EQ(bash("cat ~/errors").size(), isAnswered ? 0U : 1U) << arguments;
  }
}

TEST_F(Tool, LeavesItsControllersNeitherFilesNorIgnoredSignals) {
  fs::remove(controller);
  fs::create_symlink("/bin/sleep", controller);
  EXPECT_EQ(run(lineText("34 12 * * *", "/ZTUtil 1000") + "\n", "exec 7</dev/null; trap '' HUP CHLD;").status, 0);
  const auto child = bash("pidof ztautomatedcopycontroller");
  ASSERT_EQ(child.size(), 1U);
  EXPECT_EQ(bash("ls /proc/" + child[0] + "/fd"), (Texts{"0", "1", "2"}));
  // The C library has two signals of its own, which its posix_spawn(3) ignores in every child.
  EXPECT_EQ(bash("grep -cE '^Sig(Blk|Ign):\\s*0+(18000000)?0$' /proc/" + child[0] + "/status"), Texts{"2"});
}

TEST_F(Tool, AbortsIfTheControllerIsMissing) {
  fs::remove(controller);
  const auto outcome = run(lineText("34 12 * * *") + "\n");
  EXPECT_EQ(outcome.status, SIGABRT);
  EXPECT_EQ(outcome.errors.back(),
            "ztbackupbytime: cannot start " + controller.string() + ": No such file or directory");
}

TEST_F(Tool, ChoosesTheUsersOwnRunningApplication) {
  const std::string program = "/Zantrove.app/Contents/MacOS/Zantrove";
  const auto start = [&](const std::string& folder, const std::string& as = "") {
    bash("cp -R ~/Applications ~/" + folder + " && cp -f /bin/sleep ~/" + folder + program);
    bash(as + " ~/" + folder + program + " 99 <&- &>/dev/null & while ! pidof Zantrove | grep -qw $!; do :; done");
  };
  const auto expectUsed = [&](const char* folder) {
    const auto used = "INFO: Using Zantrove! from " + (home / folder / "Zantrove.app").string();
    EXPECT_TRUE(run("").errors.at(1).ends_with(used)) << folder;
  };
  const std::string asOther = "setpriv --reuid 65534 --clear-groups";
  if (bash(asOther + " true").empty()) {
    start("theirs", asOther);
  } else {
    std::puts("Skipped: another user's process, which needs root");
  }
  expectUsed("Applications");
  start("ours");
  start("another");
  bash("cp --remove-destination /bin/true ~/ours" + program);  // as an update does
  expectUsed("ours");

  bash("kill $(pidof Zantrove); while readlink /proc/*/exe | grep -q Zantrove; do :; done; rm -rf ~/Applications");
  const auto outcome = run("");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.errors.back().ends_with(" ERROR: Couldn't find Zantrove! application"));
}

TEST_F(Tool, ShowsTheSameTimeAsDate) {
  // The machine's zone as a plain copy of a zone file, not the usual link.
  bash(
      "cp -a /etc ~ && cp --remove-destination /usr/share/zoneinfo/America/St_Johns ~/etc/localtime &&"
      " mount --bind ~/etc /etc");
  for (const auto* form : {static_cast<const char*>(nullptr), "Europe/Berlin", ":Asia/Gaza", "", "no/such/zone",
                           "/usr/share/zoneinfo/Australia/Lord_Howe", "CET-1CEST,M3.5.0,M10.5.0/3", "<+1245>-12:45"}) {
    const Zone zone(form);
    for (const auto* time : {"1700000000", "1806195599", "1806195600", "1824944400", "2145916800"}) {
      EXPECT_EQ(dateText(Instant{std::chrono::seconds{std::stoll(time)}}, zone.calendar),
                bash(std::string("date '+%F %T %z' -d @") + time).at(0));
    }
    const auto told = bash(TOOL " 2>&1 | sed -n 's/.*schedules that run at //p'").at(0);
    EXPECT_EQ(told, bash("date '+%F %T %z' -d '" + told + "'").at(0));
  }
  bash("umount /etc");
}
