// The built tool on a private machine (demo/private-machine): real crontab, bash, processes and zones,
// and the sample application. The clock is the machine's own, but the zone is one in which it is
// 12:34:05 now.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "support/private_machine.h"
#include "support/zone.h"
#include "util/text.h"
#include "util/time_text.h"

namespace zt {

using namespace platform;
using namespace util;
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string zoneAt(std::chrono::seconds timeOfDay) {
  const auto now = std::chrono::system_clock::now().time_since_epoch() % 24h;
  const std::chrono::hh_mm_ss west{std::chrono::floor<std::chrono::seconds>(now) - timeOfDay};
  return std::string(west.is_negative() ? "TST-" : "TST+") + std::to_string(west.hours().count()) + ":" +
         std::to_string(west.minutes().count()) + ":" + std::to_string(west.seconds().count());
}

struct Tool : PrivateMachine {
  struct Outcome {
    std::int32_t status;
    Texts output, errors;
  };

  Tool() { bash("mkdir ~/Applications; cp -R " DEMO "/Zantrove.app ~/Applications"); }

  /// Runs the tool; `before` is what the shell that starts it does first.
  static Outcome run(const std::string& crontab, const std::string& before = "") {
    std::ofstream("/var/spool/cron/crontabs/root", std::ios::binary) << crontab;
    const Zone zone(zoneAt(12h + 34min + 5s).c_str());
    const Task task("/bin/bash", Texts{"-c", before + " exec " TOOL " > ~/output 2> ~/errors"});
    shell(task);
    return {task.terminationStatus(), bash("cat ~/output"), bash("cat ~/errors")};
  }

  const fs::path controller = home / "Applications/Zantrove.app/Contents/Helpers/ztautomatedcopycontroller";
};

TEST_F(Tool, ReadsEveryDueWordAsBashDoes) {
  struct Row {
    const char* reason;
    std::string command;
    const char* argument;  // of the controller
    const char* noURL;     // or the text that is none; with neither, there is no text at all
  };
  const std::vector<Row> rows = {
      {"percent", "/ZTUtil file:///tmp/Copy%20Plan/", "file:///tmp/Copy%20Plan/", nullptr},
      {"escapes", R"(/ZTUtil file:///tmp/100\%25\!)", "file:///tmp/100%25!", nullptr},
      {"quotes", R"(/ZTUtil "file:///tmp/it's")", "file:///tmp/it's", nullptr},
      {"a blank splits, escaped or not", R"(/ZTUtil file:///tmp/a\ b)", "b", nullptr},
      {"no space: the whole field", "file:///ZTUtil", "file:///ZTUtil", nullptr},
      {"the first line counts", R"(/ZTUtil $'one\ntwo')", "one", nullptr},
      {"crontab prints a carriage return as an escaped r", "/ZTUtil cr\r", "crr", nullptr},
      {"trailing space", "/ZTUtil file:///a ", nullptr, nullptr},
      {"expands to nothing", "/ZTUtil $none", nullptr, nullptr},
      {"not UTF-8", R"(/ZTUtil $'\xff')", nullptr, nullptr},
      {"longer than an argument can be", "/ZTUtil " + std::string(200'000, 'a'), nullptr, nullptr},
      {"unbalanced quote", R"(/ZTUtil "file:///a)", nullptr,
       "/bin/bash: -c: line 1: unexpected EOF while looking for matching `\"'"},
      {"a blank from bash", R"(/ZTUtil file:///a$'\x20'b)", nullptr, "file:///a b"},
  };
  Texts arguments;
  Texts messages;
  std::string crontab = "# ZTUtil\n34 12 * * * /ZTUtil \"\n34\t12\t*\t*\t*\t/ztutil \"\n34\t12\t*\t*\t*\t/ZTUtil\t\"\n";
  for (const auto& row : rows) {
    const auto line = "34\t12\t*\t*\t*\t" + row.command;
    crontab += line + "\n";
    const std::string from = " from \"" + line + "\".";
    if (row.argument != nullptr) {
      arguments.emplace_back(row.argument);
    } else if (row.noURL != nullptr) {
      messages.push_back("ztbackupbytime: unable to create URL from unescaped \"" + std::string(row.noURL) +
                         "\" extracted and unescaped" + from);
    } else {
      messages.push_back("ztbackupbytime: failed to unescape \"" + row.command + "\"" + from);
    }
  }
  for (const auto* notDue : {"33\t12\t*\t*\t*", "75\t12\t*\t*\t*", "34\t12\t*\t*\t7", "#34\t12\t*\t*\t*"}) {
    crontab.append(notDue).append("\t/ZTUtil \"\n");
  }
  for (int i = 0; i < 1000; ++i) crontab += "0\t13\t*\t*\t*\t/ZTUtil many\n";

  const auto outcome = run(crontab, "export LC_ALL=not_installed;");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, messages);
  std::ranges::sort(arguments);
  EXPECT_EQ(bash("LC_ALL=C sort ~/controller-arguments"), arguments);
  EXPECT_EQ(bash("grep -c \" 13:00:00 by 'ZTAgent'$\" ~/wake-events"), Texts{"1"});
}

TEST_F(Tool, FindsNoLinesInTextThatIsNotUtf8) {
  const auto outcome = run("34\t12\t*\t*\t*\t/ZTUtil file:///a\n# caf\xe9\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.errors.at(6).ends_with("INFO: Found 0 matching schedules."));
}

TEST_F(Tool, LeavesControllersRunningWithNothingOfItsOwn) {
  fs::remove(controller);
  fs::create_symlink("/bin/sleep", controller);
  EXPECT_EQ(run("34\t12\t*\t*\t*\t/ZTUtil 1000\n", "exec 7</dev/null; trap '' HUP CHLD;").status, 0);
  const auto child = bash("pidof ztautomatedcopycontroller");
  ASSERT_EQ(child.size(), 1U);
  EXPECT_EQ(bash("ls /proc/" + child[0] + "/fd"), (Texts{"0", "1", "2"}));
  // The C library has two signals of its own, which its posix_spawn(3) ignores in every child.
  EXPECT_EQ(bash("grep -cE '^Sig(Blk|Ign):\\s*0+(18000000)?0$' /proc/" + child[0] + "/status"), Texts{"2"});
}

TEST_F(Tool, EndsAbnormallyWithoutController) {
  fs::remove(controller);
  const auto outcome = run("34\t12\t*\t*\t*\t/ZTUtil file:///a\n");
  EXPECT_EQ(outcome.status, SIGABRT);
  EXPECT_EQ(outcome.errors.back(),
            "ztbackupbytime: cannot start " + controller.string() + ": No such file or directory");
}

TEST_F(Tool, ChoosesTheUsersOwnRunningApplication) {
  const auto start = [this](const std::string& folder, const std::string& as) {
    auto bundle = (home / folder / "Zantrove.app").string();
    bash("cp -R ~/Applications ~/" + folder + " && cp -f /bin/sleep " + bundle + "/Contents/MacOS/Zantrove");
    bash(as + " " + bundle +
         "/Contents/MacOS/Zantrove 99 <&- &>/dev/null & while ! pidof Zantrove | grep -qw $!; do :; done");
    return bundle;
  };
  const auto expectUsed = [](const std::string& bundle) {
    EXPECT_TRUE(run("").errors.at(1).ends_with("INFO: Using Zantrove! from " + bundle)) << bundle;
  };
  const std::string asOther = "setpriv --reuid 65534 --clear-groups";
  if (bash(asOther + " true").empty()) {
    start("theirs", asOther);
  } else {
    std::cout << "Another user's process: not tried, that takes root's rights.\n";
  }
  expectUsed((home / "Applications/Zantrove.app").string());
  const auto first = start("ours", "");
  start("another", "");
  bash("cp --remove-destination /bin/true " + first + "/Contents/MacOS/Zantrove");  // as an update does
  expectUsed(first);

  bash("kill $(pidof Zantrove); rm -rf ~/Applications");
  const auto outcome = run("");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.errors.back().ends_with(" ERROR: Couldn't find Zantrove! application"));
}

TEST_F(Tool, TellsTheTimeThatDateTells) {
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

}  // namespace
}  // namespace zt
