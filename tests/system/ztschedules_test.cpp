// The built ztschedules on a private machine (demo/private-machine).

#include "support/private_machine.h"

struct Viewer : PrivateMachine {
  Viewer() {
    ::setenv("TZ", "UTC0", 1);
    std::ofstream("/var/spool/cron/crontabs/root", std::ios::binary)
        << lineText("0 5 * * *", "/ZTUtil file:///a/$(touch$IFS~/expanded)") << "\n0 7 * * * other\n\n"
        << lineText("0 6 * * 7", "/ZTUtil file:///\x1b[1mb") << "\n";
    std::ofstream("good") << lineText("0 5 * * *") << "\n";
  }
};

TEST_F(Viewer, ShowsTheUsersCrontab) {
  EXPECT_EQ(bash(ZTSCHEDULES " --at '2027-03-14 05:00'"),
            (Texts{"NEXT                      LEFT  SCHEDULE            COPY",
                   "Sun 2027-03-14 05:00 UTC  now   every day at 05:00  expanded)", "LINE  COPY      PROBLEM",
                   "4     \\x1b[1mb  day of week 7 matches no day: use 0 (Sunday) to 6 (Saturday)"}));
  EXPECT_FALSE(fs::exists(home / "expanded"));
  EXPECT_EQ(bash("COLUMNS=40 " ZTSCHEDULES " --check | tail -n +2"),
            (Texts{"4     \\x1b[1mb  day of week 7 matches no", "                day: use 0 (Sunday) to 6",
                   "                (Saturday)"}));
}

TEST_F(Viewer, EndsWithAStatusAndAMessage) {
  const std::vector<std::pair<std::string, Texts>> rows = {
      {"0",
       {"", "--check good", "--check --month - < good", "--month 2027-03 good", "--next good", "--explain 1 good",
        "--explain '0 5 * * *'", "--new a://b --time 9:30", "--help", "--version"}},
      {"1", {"--check", "--check --json", "--next - < /dev/null", "--doctor", "--doctor --json"}},
      {"2",
       {"--month good --count 3",
        "--json --count 3",
        "--count 0",
        "--count -- -1",
        "--at tomorrow",
        "--month 2027-13",
        "--unknown",
        "--month march good",
        "--check --next good",
        "--doctor good",
        "--doctor --check",
        "--new a:b --time 9:30 --at 1",
        "good good",
        "missing",
        "/",
        "/dev/zero",
        "good > /dev/full",
        "good >&-",
        "- <&-",
        "--version >&-",
        "--explain 2 good",
        "--new a:b --time 9:30 --month 6",
        "--new a:b",
        "--new a:b --time 9:30 c",
        "--explain '0 5 * * *' good",
        "--days mon"}},
  };
  for (const auto& [status, all] : rows) {
    for (const auto& arguments : all) {
      EXPECT_EQ(bash("{ " ZTSCHEDULES " " + arguments + "; } &> output; echo $?"), Texts{status}) << arguments;
      EXPECT_EQ(bash("grep -c '^ztschedules: ' output"), Texts{status == "2" ? "1" : "0"}) << arguments;
    }
  }
  EXPECT_EQ(bash(ZTSCHEDULES " --check good"), Texts{});
  EXPECT_EQ(bash(ZTSCHEDULES " --month 2027-03 good | sed 1q"), Texts{"        March 2027"});
  EXPECT_EQ(bash(ZTSCHEDULES " --month good | sed 1q"), bash(ZTSCHEDULES " --month $(date +%Y-%m) - < good | sed 1q"));
  EXPECT_EQ(bash(ZTSCHEDULES " --check /dev/null"), Texts{});
  EXPECT_EQ(bash("echo '# ZTUtil' | " ZTSCHEDULES " -").at(0), "No schedules: only comments contain ZTUtil.");
  EXPECT_EQ(bash("crontab -r; " ZTSCHEDULES " | sed 1q"),
            (Texts{"ztschedules: no crontab for root", "No schedules: no line contains ZTUtil."}));
  EXPECT_EQ(bash("mount --bind /dev/null /usr/bin/crontab;" ZTSCHEDULES "; echo $?; umount /usr/bin/crontab"),
            (Texts{"ztschedules: cannot run /usr/bin/crontab", "2"}));
}

TEST_F(Viewer, NamesMistakesOnTheCommandLine) {
  const std::string tooMany =
      "too many words: put a name with blanks, or five time fields, in quotes, and write lists as in mon,fri";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"--new a:b", "--new requires --time"},
      {"--new --time 9:30", "--new: a URL or a folder is missing"},
      {"--new My Work --time 9:30", tooMany},
      {"--new a:b --time 9:30 --days mon wed fri", tooMany},
      {"--explain 30 9 15-21 x 1", tooMany},
      {"--explain x good", "x is neither the number of a line nor five time fields such as \"30 9 15-21 * 1\""},
      {"--new a:b --time 1:00 --time 2:00",
       "1:00,2:00 is not a time such as 09:30, up to 23:59; each time needs its own line"},
      {"--new a:b --time 1:00 --month 6", "a line is for every month: choose its days with --days and --weeks"},
      {"--json --explain 1 good", "--json excludes --explain"},
  };
  for (const auto& [arguments, message] : rows) {
    EXPECT_EQ(bash(ZTSCHEDULES " " + arguments), Texts{"ztschedules: " + message}) << arguments;
  }
}

TEST_F(Viewer, WritesLinesForTheCrontab) {
  const auto add = [](const std::string& arguments) {
    bash("(crontab -l; " ZTSCHEDULES " --new " + arguments + ") 2> errors | crontab -");
    return bash("crontab -l | tail -n 1").at(0);
  };
  const auto lines = bash("crontab -l").size();
  const auto path = home.string();
  EXPECT_EQ(add(". --time 09:30"), lineText("30 9 * * *", ": ZTUtil file://" + path + "/"));
  bash("mkdir -p ~/Applications && cp -R " DEMO "/Zantrove.app ~/Applications/'My Zantrove.app'");
  const std::string utility = "~/Applications/My\\ Zantrove.app/Contents/Helpers/ZTUtil";
  bash("touch " + utility);
  EXPECT_EQ(add("b --time 09:30"), lineText("30 9 * * *", ": ZTUtil file://" + path + "/b/")) << "not executable";
  bash("chmod 777 " + utility);
  EXPECT_EQ(add("b --time 09:30"), lineText("30 9 * * *", ": ZTUtil file://" + path + "/b/")) << "others can write it";
  EXPECT_EQ(bash("cat errors"), Texts{"ztschedules: warning: " + path + "/b/ does not exist"});
  bash("chmod 755 " + utility);
  EXPECT_EQ(add("b --time 09:30 --days mon --weeks 3"),
            lineText("30 9 15-21 * 1", path + utility.substr(1) + " file://" + path + "/b/"));
  EXPECT_EQ(add("b --time 9:30 --command /ZTUtil"), lineText("30 9 * * *", "/ZTUtil file://" + path + "/b/"));
  bash("mkdir 'a:b'");
  EXPECT_EQ(add("a:b --time 9:30 --command ZTUtil"), lineText("30 9 * * *", "ZTUtil file://" + path + "/a\\%3Ab/"));
  EXPECT_EQ(bash("crontab -l").size(), lines + 6) << "no other line is lost";
}

TEST_F(Viewer, TakesWhatEachCrontabProgramPrints) {
  const auto withCrontab = [](const std::string& program) {
    std::ofstream("crontab") << "#!/bin/sh\n" << program;
    return bash("chmod +x crontab; mount --bind crontab /usr/bin/crontab;" ZTSCHEDULES
                " --json; echo $?; umount /usr/bin/crontab");
  };
  const Texts none = {"[]", "0"};
  const auto after = [](const char* message, Texts rest) {
    rest.insert(rest.begin(), message);
    return rest;
  };
  EXPECT_EQ(withCrontab("echo refused\nexit 7"), (Texts{"ztschedules: crontab failed with status 7: refused", "2"}));
  EXPECT_EQ(withCrontab("echo no crontab for me >&2; cat good").size() > 5, true);
  EXPECT_EQ(withCrontab("echo ZTUtil; echo no crontab for me >&2; exit 1"),
            after("ztschedules: no crontab for me", none));
  EXPECT_EQ(withCrontab("kill -PIPE $$"), (Texts{"ztschedules: crontab was ended by signal 13", "2"}));
  EXPECT_EQ(withCrontab("echo no crontab for me >&2; exit 2"), after("ztschedules: no crontab for me", none));
  EXPECT_EQ(withCrontab("echo bcrontab: Fatal: Crontab does not exist >&2; exit 111"),
            after("ztschedules: bcrontab: Fatal: Crontab does not exist", none));
  EXPECT_EQ(withCrontab("printf 'not allowed\n\\033see crontab(1)\n' >&2; exit 1"),
            (Texts{"ztschedules: crontab failed with status 1: not allowed; \\x1bsee crontab(1)", "2"}));
  EXPECT_EQ(withCrontab("sleep 100 > /dev/null & echo left >&2").front(), "ztschedules: left") << "it does not wait";
  const auto lines = withCrontab("seq 20000 >&2; cat good; echo >&2");
  EXPECT_EQ(std::ranges::count(lines, "    \"lineNumber\": 1,"), 1) << "messages are no lines";
  EXPECT_EQ(lines.front(), "ztschedules: 1");
}

TEST_F(Viewer, EndsItsExaminationIfTheServiceManagerHangs) {
  const ServiceSocket silent(SOCK_STREAM, home / "run/bus");
  EXPECT_EQ(bash("XDG_RUNTIME_DIR=~/run timeout 9 " ZTSCHEDULES " --doctor | grep -o 'no answer: .*out\\.'"),
            Texts{"no answer: Connection timed out."});
}

TEST_F(Viewer, CompletesItsOptionsAndFiles) {
  const auto completions = [](const std::string& words) {
    return bash(". " PACKAGING "/ztschedules.bash-completion; compopt() { :; }; COMP_WORDS=(" + words +
                "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _ztschedules; printf '%s\\n' \"${COMPREPLY[@]}\" | sort");
  };
  EXPECT_EQ(completions("ztschedules --"),
            bash(ZTSCHEDULES " --help | grep -oE '^ *(-h,)?--[a-z]+' | grep -oE '[-]-.*' | sort"));
  bash("mkdir 'good folder'");
  EXPECT_EQ(completions("ztschedules --json go"), (Texts{"good", "good folder"}));
  EXPECT_EQ(completions("ztschedules --new go"), Texts{"good folder"});
  EXPECT_EQ(completions("ztschedules --days mon,tue-s"), (Texts{"mon,tue-sat", "mon,tue-sun"}));
  EXPECT_EQ(completions("ztschedules --weeks = 1,l"), Texts{"1,last-two"});
}

TEST_F(Viewer, UsesColorOnlyInATerminal) {
  const std::string month = ZTSCHEDULES " --month 2027-03 good";
  const auto firstDay = [](const std::string& command) {
    return bash(command + " | grep -oE '^(  1\\*| \x1b\\[1;32m 1\x1b\\[0m)'");
  };
  EXPECT_EQ(firstDay(month), Texts{"  1*"});
  EXPECT_EQ(firstDay("TERM=xterm script -qc '" + month + "' /dev/null"), Texts{" \x1b[1;32m 1\x1b[0m"});
  EXPECT_EQ(firstDay("NO_COLOR=1 TERM=xterm script -qc '" + month + "' /dev/null"), Texts{"  1*"});
  EXPECT_EQ(firstDay("TERM=dumb script -qc '" + month + "' /dev/null"), Texts{"  1*"});
}
