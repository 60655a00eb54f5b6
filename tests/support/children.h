#pragma once

#include <errno.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "support/test.h"

namespace zt {

inline std::ptrdiff_t entries(const char* folder) {
  return std::ranges::distance(fs::directory_iterator(folder));
}

/// Checks that a test leaves behind no descriptor, no thread and no child, not even one that has exited.
struct Children : testing::Test {
  Children() {
    // A sanitizer starts its own thread with the first one, and a thread that was joined may still be listed.
    std::string first;
    std::thread([&] { first = "/proc/self/task/" + std::to_string(::gettid()); }).join();
    while (fs::exists(first)) std::this_thread::yield();
    threads = entries("/proc/self/task");
    descriptors = entries("/proc/self/fd");
  }

  void TearDown() override {
    // The thread of a handler ends shortly after the handler.
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (entries("/proc/self/task") > threads && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    EXPECT_EQ(entries("/proc/self/task"), threads);
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }

  std::ptrdiff_t threads, descriptors;
};

}  // namespace zt
