#include "util/process_runner.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <future>
#include <latch>
#include <semaphore>
#include <thread>

#include "support/children.h"

static Task bash(const std::string& script) {
  return Task("/bin/bash", Texts{"-c", script});
}

using Runner = Children;

/// What a completion was called with. Fails the test if it was not called exactly once.
struct Report {
  Completion completion() {
    return [this](const std::string& text, std::int32_t status) {
      EXPECT_NE(std::this_thread::get_id(), caller);
      given.set_value({text, status});
    };
  }
  std::pair<std::string, std::int32_t> get() { return given.get_future().get(); }

  std::thread::id caller = std::this_thread::get_id();
  std::promise<std::pair<std::string, std::int32_t>> given;  // throws when it is set twice
};

TEST_F(Runner, ShellGivesAllOutputAsLines) {
  const std::vector<std::tuple<const char*, std::optional<Texts>, int>> rows = {
      {":", Texts{}, 0},
      {"echo out; echo err >&2; echo out; exit 7", Texts{"out", "err", "out"}, 7},
      {"echo -n a; kill -9 $$", Texts{"a"}, SIGKILL},
      {"echo a; exec >&- 2>&-; exit 3", Texts{"a"}, 3},
      {"{ while kill -0 $$ 2>&-; do sleep 0.01; done; echo late; } & echo early", Texts{"early", "late"}, 0},
      {R"(printf 'a\xff')", std::nullopt, 0},
      {R"(printf '\xc3')", std::nullopt, 0},
  };
  for (const auto& [script, lines, status] : rows) {
    const auto task = bash(script);
    EXPECT_EQ(shell(task), lines) << script;
    EXPECT_EQ(task.terminationStatus(), status) << script;
  }
  EXPECT_EQ(shell(Task("/bin/echo", Texts{"a"}), std::nullopt, Texts{"b"}), Texts{"b"});
  EXPECT_EQ(shell(Task("/bin/none", Texts{"a"}), "/bin/echo"), Texts{"a"});
  const std::string line = "10 MiB, é";
  EXPECT_EQ(shell(bash("yes '" + line + "' | head -n 1000000")), Texts(1000000, line));
}

TEST_F(Runner, ChainStartsEachTaskAfterThePreviousOneHasEnded) {
  // Each closes its output before it ends. The next one checks that it has ended.
  const Task first = bash("echo $$ one; exec >&-; sleep 0.1");
  const Task second = bash("read pid text; kill -0 $pid 2>&- && text=alive; echo $$ $text two; exec >&-; sleep 0.1");
  Task third = bash("read pid text; kill -0 $pid 2>&- && text=alive; echo $text three; echo err >&2; exit 7");
  Report report;
  pipe(pipe(first, second), third, report.completion());
  spawn(first);
  third.waitUntilExit();
  EXPECT_EQ(report.get(), std::pair(std::string("one two three\nerr\n"), 7));
}

TEST_F(Runner, CompletionGetsTextAndStatus) {
  const auto pipe = [] { return std::make_shared<Pipe>(); };
  const auto file = std::make_shared<FileHandle>(::open("/dev/null", O_WRONLY));
  const std::vector<std::tuple<const char*, Task::Stream, std::string, int>> rows = {
      {":", pipe(), "", 0},
      {"echo é; exit 3", pipe(), "é\n", 3},
      {"echo a; exec >&-; exit 255", pipe(), "a\n", 255},
      {"echo a; cat <&0 &", pipe(), "a\n", 0},  // cat keeps the pipe open
      {R"(printf 'a\xff'; exit 3)", pipe(), "", 3},
      {"printf %65536s", pipe(), std::string(65536, ' '), 0},  // all that a pipe can hold
      {"exit 4", {}, "", 4},
      {"echo a; exit 5", file, "", 5},
      {"echo a; exit 6", file, "", 6},  // the launch before has not closed it
  };
  for (const auto& [script, output, text, status] : rows) {
    Task task = bash(script);
    task.setStandardInput(pipe());
    task.setStandardOutput(output);
    Report report;
    const auto replaced = [](const std::string&, std::int32_t) { ADD_FAILURE(); };
    complete(complete(task, replaced), report.completion()).launch();
    EXPECT_EQ(report.get(), std::pair(text, status)) << script;
  }
}

TEST_F(Runner, ServesManyOneAfterAnother) {
  for (int i = 0; i < 2000; ++i) ASSERT_EQ(shell(Task("/bin/true")), Texts{});
}

TEST_F(Runner, ServesManyAtATime) {
  constexpr int count = 200;
  std::latch completed(count);
  std::vector<std::shared_ptr<Pipe>> inputs;
  for (int i = 0; i < count; ++i) {
    Task task("/bin/cat");
    task.setStandardInput(inputs.emplace_back(std::make_shared<Pipe>()));
    spawn(complete(task, [&](const std::string&, std::int32_t) { completed.count_down(); }));
  }
  // If a child had inherited the writing end of another child's input, that one would never end.
  for (const auto& input : inputs) input->fileHandleForWriting().closeFile();
  completed.wait();

  std::vector<std::jthread> callers(count);
  for (auto& caller : callers) {
    caller = std::jthread([] { EXPECT_EQ(shell(bash("echo a; echo b >&2")), (Texts{"a", "b"})); });
  }
}

TEST_F(Runner, ReadabilityHandlerIsCalledUntilItIsRemovedOrTheDataEnds) {
  Pipe pipe;
  FileHandle& handle = pipe.fileHandleForReading();
  const auto write = [&](char letter) {
    EXPECT_EQ(::write(pipe.fileHandleForWriting().fileDescriptor(), &letter, 1), 1);
  };
  handle.setReadabilityHandler([](FileHandle&) { FAIL() << "there was nothing to read"; });
  handle.setReadabilityHandler(nullptr);
  write('a');
  std::binary_semaphore called(0);
  handle.setReadabilityHandler([&](FileHandle& readable) {
    EXPECT_EQ(readable.availableData(), "a");
    readable.setReadabilityHandler(nullptr);
    called.release();
  });
  called.acquire();
  write('b');
  EXPECT_EQ(handle.availableData(), "b");

  std::promise<void> end;  // throws when it is set twice
  handle.setReadabilityHandler([&](FileHandle& readable) {
    if (readable.availableData().empty()) end.set_value();
  });
  write('c');
  pipe.fileHandleForWriting().closeFile();
  end.get_future().wait();
}

TEST_F(Runner, FileHandleWaitsForItsHandlerUnlessTheHandlerReleasesIt) {
  auto pipe = std::make_shared<Pipe>();
  pipe->fileHandleForWriting().closeFile();
  std::binary_semaphore called(0);
  pipe->fileHandleForReading().setReadabilityHandler([&](FileHandle& readable) {
    readable.setReadabilityHandler(nullptr);
    called.release();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(readable.availableData(), "");
  });
  called.acquire();
  pipe = std::make_shared<Pipe>();
  pipe->fileHandleForWriting().closeFile();
  pipe->fileHandleForReading().setReadabilityHandler([&](FileHandle&) {
    pipe.reset();
    called.release();
  });
  called.acquire();
}

struct RunnerDeathTest : Children {
  RunnerDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(RunnerDeathTest, LaunchThatFailsEndsTheProcessWithOneLine) {
  const testing::KilledBySignal isAborted(SIGABRT);
  const std::string start = "^util_tests: cannot start ";
  EXPECT_EXIT(spawn(Task("/etc")), isAborted, start + "/etc: Permission denied\n$");
  EXPECT_EXIT(shell(Task("/bin/true"), "/none\n"), isAborted, start + "/none\\?: No such file or directory\n$");
  const auto runChain = [] {
    const Task first("/bin/true");
    Task second("/none");
    pipe(first, second);
    spawn(first);
    second.waitUntilExit();
  };
  EXPECT_EXIT(runChain(), isAborted, start + "/none: No such file or directory\n$");
}

TEST_F(RunnerDeathTest, StreamsCanChangePlaces) {
  const auto swap = [] {
    ::dup2(::open("/dev/null", O_WRONLY), 1);
    Task task = bash("echo out; echo err >&2");
    task.setStandardOutput(std::make_shared<FileHandle>(2));
    task.setStandardError(std::make_shared<FileHandle>(1));
    task.launch();
    task.waitUntilExit();
    ::_exit(0);
  };
  EXPECT_EXIT(swap(), testing::ExitedWithCode(0), "^out\n$");
}
