// Real children of this process.

#include "util/process_runner.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <latch>
#include <semaphore>
#include <thread>

namespace zt {

using namespace platform;
using namespace util;
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

Task bash(const std::string& script) {
  return Task("/bin/bash", Texts{"-c", script});
}

std::size_t entries(const char* folder) {
  const std::filesystem::directory_iterator entry(folder);
  return static_cast<std::size_t>(std::distance(begin(entry), end(entry)));
}

/// Checks that a test leaves behind no descriptor, no thread and no child, not even one that has exited.
struct Runner : testing::Test {
  Runner() {
    // A sanitizer starts a thread of its own along with the first one; and one that was joined can still be listed.
    std::string first;
    std::thread([&] { first = "/proc/self/task/" + std::to_string(::gettid()); }).join();
    while (std::filesystem::exists(first)) std::this_thread::yield();
    threads = entries("/proc/self/task");
    descriptors = entries("/proc/self/fd");
  }

  void TearDown() override {
    // A handler's thread needs a moment to end after the handler has.
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (entries("/proc/self/task") > threads && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    EXPECT_EQ(entries("/proc/self/task"), threads);
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }

  std::size_t threads, descriptors;
};

/// What a completion was called with. Fails the test if that is not once.
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
  struct Row {
    const char* script;
    std::optional<Texts> lines;
    std::int32_t status = 0;
  };
  const std::vector<Row> rows = {
      {":", Texts{}},
      {"echo out; echo err >&2; echo out; exit 7", Texts{"out", "err", "out"}, 7},
      {"echo -n a; kill -9 $$", Texts{"a"}, SIGKILL},
      {"echo a; exec >&- 2>&-; exit 3", Texts{"a"}, 3},
      {"{ while kill -0 $$ 2>&-; do sleep 0.01; done; echo late; } & echo early", Texts{"early", "late"}},
      {R"(printf 'a\xff')", std::nullopt},
      {R"(printf '\xc3')", std::nullopt},
  };
  for (const auto& row : rows) {
    const auto task = bash(row.script);
    EXPECT_EQ(shell(task), row.lines) << row.script;
    EXPECT_EQ(task.terminationStatus(), row.status) << row.script;
  }
  EXPECT_EQ(shell(Task("/bin/echo", Texts{"a"}), std::nullopt, Texts{"b"}), Texts{"b"});
  EXPECT_EQ(shell(Task("/bin/none", Texts{"a"}), "/bin/echo"), Texts{"a"});
  const std::string line = "10 MiB, é";
  EXPECT_EQ(shell(bash("yes '" + line + "' | head -n 1000000")), Texts(1000000, line));
}

TEST_F(Runner, ChainStartsEachTaskWhenTheOneBeforeHasEnded) {
  // All close their output while they live on; the one after looks whether that is still so.
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
  struct Row {
    const char* script;
    Task::Stream output;
    std::string text;
    std::int32_t status;
  };
  const auto pipe = [] { return std::make_shared<Pipe>(); };
  const auto file = std::make_shared<FileHandle>(::open("/dev/null", O_WRONLY));
  const std::vector<Row> rows = {
      {":", pipe(), "", 0},
      {"echo é; exit 3", pipe(), "é\n", 3},
      {"echo a; exec >&-; exit 255", pipe(), "a\n", 255},
      {"echo a; cat <&0 &", pipe(), "a\n", 0},  // which holds the pipe
      {R"(printf 'a\xff'; exit 3)", pipe(), "", 3},
      {"printf %65536s", pipe(), std::string(65536, ' '), 0},  // as much as a pipe takes
      {"exit 4", {}, "", 4},
      {"echo a; exit 5", file, "", 5},
      {"echo a; exit 6", file, "", 6},  // which a launch leaves open
  };
  for (const auto& row : rows) {
    Task task = bash(row.script);
    task.setStandardInput(pipe());
    task.setStandardOutput(row.output);
    Report report;
    const auto replaced = [](const std::string&, std::int32_t) { ADD_FAILURE(); };
    complete(complete(task, replaced), report.completion()).launch();
    EXPECT_EQ(report.get(), std::pair(row.text, row.status)) << row.script;
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
  // An end for writing that a child had as well would keep another one waiting.
  for (const auto& input : inputs) input->fileHandleForWriting().closeFile();
  completed.wait();

  std::vector<std::jthread> callers(count);
  for (auto& caller : callers) {
    caller = std::jthread([] { EXPECT_EQ(shell(bash("echo a; echo b >&2")), (Texts{"a", "b"})); });
  }
}

TEST_F(Runner, ReadabilityHandlerIsCalledUntilItIsRemovedOrAtTheEnd) {
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

TEST_F(Runner, FileHandleWaitsForItsHandlerUnlessThatLetsGoOfIt) {
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

struct RunnerDeathTest : Runner {
  RunnerDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(RunnerDeathTest, LaunchThatFailsEndsTheProcessWithOneLine) {
  struct Row {
    const char *path, *reason;
    void (*start)(Task&);
  };
  const std::vector<Row> rows = {
      {"/etc", "Permission denied", [](Task& task) { spawn(task); }},
      {"/none\\?", "No such file or directory", [](Task& task) { shell(task, "/none\n"); }},
      {"/none", "No such file or directory",
       [](Task& task) {
         Task first("/bin/true");
         pipe(first, task);
         first.launch();
         task.waitUntilExit();
       }},
  };
  for (const auto& row : rows) {
    Task task(row.path);
    const auto line = std::string("^unit_tests: cannot start ") + row.path + ": " + row.reason + "\n$";
    EXPECT_EXIT(row.start(task), testing::KilledBySignal(SIGABRT), line);
  }
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

}  // namespace
}  // namespace zt
