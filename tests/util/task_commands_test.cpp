#include "util/task_commands.h"

#include "support/children.h"

static Command scriptCommand(const std::string& script) {
  return {"/bin/bash", {"-c", script}};
}

struct RunCommands : Children {
  Texts reports;
  TaskCommands commands{{.awakeTime = 500ms, .bytes = 1'000'000}, [&](const auto& line) { reports.push_back(line); }};
};

TEST_F(RunCommands, KillsWhatDoesNotEndAndTakesNothingFromWhatIsKilled) {
  const std::string killed = "Killed /bin/bash -c: ";
  const std::string tooLong = killed + "it did not end within 500 milliseconds.";
  const std::string leftBehind = killed + "a process that it left behind still held its output after 500 milliseconds.";
  const std::vector<std::pair<const char*, std::string>> rows = {
      {"echo text; sleep 1000", tooLong},
      {"trap '' HUP INT TERM; while :; do sleep 1000; done", tooLong},
      {"exec >&- 2>&-; sleep 1000", tooLong},  // no output to wait for
      {"kill -STOP $$", tooLong},
      {"sleep 1000 & sleep 1000", tooLong},  // both
      {"sleep 1000 & echo text", leftBehind},
      {"{ sleep 1000; echo text; } &", leftBehind},
      {"setsid sleep 2 & sleep 0.1", leftBehind},  // in another session: not killed, but not waited for
      {"exec perl -e 'setpgrp(0, getpgrp(getppid())); sleep 1000'", tooLong},       // in the group of the tool
      {"setsid yes & sleep 1000", killed + "it printed more than 1000000 bytes."},  // ends when nobody reads any more
      {"echo a part; kill -KILL $$", "/bin/bash -c was killed by signal 9."},
      {"yes", killed + "it printed more than 1000000 bytes."},
  };
  for (const auto& [script, report] : rows) {
    EXPECT_EQ(commands.run(scriptCommand(script)), std::nullopt) << script;
    EXPECT_EQ(std::exchange(reports, {}), Texts{report}) << script;
    EXPECT_EQ(commands.run(scriptCommand("echo next; printf %999990s")).value().at(0), "next") << script;
  }
  // That nothing runs on is what the fixture checks.
}

TEST_F(RunCommands, StartsProgramsInSessionsOfTheirOwnAndLeavesNoZombies) {
  Pipe pipe;
  // Field 6 of proc(5) is the session.
  const auto descriptor = std::to_string(pipe.fileHandleForWriting().fileDescriptor());
  const auto output = "/proc/" + std::to_string(::getpid()) + "/fd/" + descriptor;
  commands.start(scriptCommand("read -r _ _ _ _ _ session _ < /proc/$$/stat; echo $((session - $$)) > " + output),
                 "a test");
  EXPECT_EQ(pipe.fileHandleForReading().availableData(), "0\n");
  siginfo_t child{};
  EXPECT_EQ(::waitid(P_ALL, 0, &child, WEXITED | WNOWAIT), 0);
  commands.run(scriptCommand(":"));
}
