// The built ztschedules on a private machine (demo/private-machine).

#include <fstream>

#include "support/private_machine.h"

namespace zt {
namespace {

struct Schedules : PrivateMachine {
  Schedules() {
    ::setenv("TZ", "UTC0", 1);
    std::ofstream("/var/spool/cron/crontabs/root", std::ios::binary)
        << "0\t5\t*\t*\t*\t/ZTUtil file:///a/$(touch$IFS~/expanded)\n0 7 * * * other\n\n0\t6\t*\t*\t7\t/ZTUtil "
           "file:///\x1b[1mb\n";
    std::ofstream("good") << "0\t5\t*\t*\t*\t/ZTUtil file:///c\n";
  }
};

TEST_F(Schedules, AreThoseOfTheUsersCrontab) {
  EXPECT_EQ(bash(ZTSCHEDULES " --at '2027-03-14 05:00'"),
            (Texts{"NEXT                      LEFT  SCHEDULE            COPY",
                   "Sun 2027-03-14 05:00 UTC  now   every day at 05:00  expanded)", "LINE  COPY      PROBLEM",
                   "4     \\x1b[1mb  day of week 7 matches no day: use 0 (Sunday) to 6 (Saturday)"}));
  EXPECT_FALSE(std::filesystem::exists(home / "expanded"));
  EXPECT_EQ(bash("COLUMNS=40 " ZTSCHEDULES " --check | tail -n +2"),
            (Texts{"4     \\x1b[1mb  day of week 7 matches no", "                day: use 0 (Sunday) to 6",
                   "                (Saturday)"}));
}

TEST_F(Schedules, EndWithAStatus) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"", "0"},
      {"--check", "1"},
      {"--check --json", "1"},
      {"--check good", "0"},
      {"--check --month - < good", "0"},
      {"--month 2027-03 good", "0"},
      {"--month good --count 3", "2"},
      {"--json --count 3", "2"},
      {"--count 0", "2"},
      {"--count -- -1", "2"},
      {"--at tomorrow", "2"},
      {"--month 2027-13", "2"},
      {"--unknown", "2"},
      {"good good", "2"},
      {"missing", "2"},
      {"/", "2"},
      {"/dev/zero", "2"},
      {"--help", "0"},
      {"--version", "0"},
      {"good > /dev/full", "2"},
  };
  for (const auto& [arguments, status] : rows) {
    EXPECT_EQ(bash("{ " ZTSCHEDULES " " + std::string(arguments) + "; } &> output; echo $?"), Texts{status})
        << arguments;
    EXPECT_EQ(bash("grep -c '^ztschedules: ' output"), Texts{status == std::string("2") ? "1" : "0"}) << arguments;
  }
  EXPECT_EQ(bash(ZTSCHEDULES " --check good"), Texts{});
  EXPECT_EQ(bash(ZTSCHEDULES " --month 2027-03 good | sed 1q"), Texts{"        March 2027"});
  EXPECT_EQ(bash(ZTSCHEDULES " --month good | sed 1q"), bash(ZTSCHEDULES " --month $(date +%Y-%m) - < good | sed 1q"));
  EXPECT_EQ(bash("crontab -r; " ZTSCHEDULES " | sed 1q"),
            (Texts{"ztschedules: no crontab for root", "No schedules: no line contains ZTUtil."}));
  EXPECT_EQ(bash("mount --bind /dev/null /usr/bin/crontab;" ZTSCHEDULES "; echo $?; umount /usr/bin/crontab"),
            (Texts{"ztschedules: cannot run /usr/bin/crontab", "2"}));
  EXPECT_EQ(bash("printf '#!/bin/sh\\necho refused\\nexit 7' > crontab; chmod +x crontab; mount --bind crontab "
                 "/usr/bin/crontab;" ZTSCHEDULES "; echo $?; umount /usr/bin/crontab"),
            (Texts{"ztschedules: crontab failed with status 7: refused", "2"}));
}

TEST_F(Schedules, HaveColourOnlyAtATerminal) {
  const auto firstDay = [](const std::string& command) {
    return bash(command + " | sed -n '3{s/\\r//; s/^ *//; s/  .*//; p}'").at(0);
  };
  const std::string month = ZTSCHEDULES " --month 2027-03 good";
  EXPECT_EQ(firstDay(month), "1*");
  EXPECT_EQ(bash("TERM=xterm script -qc '" + month + "' /dev/null | grep -c '\x1b\\[1;32m 1\x1b\\[0m'"), Texts{"1"});
  EXPECT_EQ(firstDay("NO_COLOR=1 TERM=xterm script -qc '" + month + "' /dev/null"), "1*");
  EXPECT_EQ(firstDay("TERM=dumb script -qc '" + month + "' /dev/null"), "1*");
}

}  // namespace
}  // namespace zt
