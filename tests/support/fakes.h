#pragma once

#include <functional>
#include <set>

#include "platform/applications.h"
#include "platform/clock.h"
#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/log_sinks.h"
#include "platform/power_assertions.h"
#include "platform/wake_events.h"

namespace zt {

using namespace platform;  // the interfaces that these are fakes of

using Texts = std::vector<std::string>;

/// Stands still but for sleeps.
struct FakeClock : Clock {
  explicit FakeClock(Instant start) : time(start) {}

  Instant now() const override { return time; }
  void sleep(std::chrono::seconds duration) override {
    if (sleeps.empty()) time += changeInFirstSleep;
    sleeps.push_back(duration.count());
    time += duration;
  }

  Instant time;
  std::chrono::seconds changeInFirstSleep{0};  ///< as when somebody sets the clock
  std::vector<std::int64_t> sleeps;
};

struct FakeApplications : Applications {
  std::vector<std::optional<std::filesystem::path>> running(std::string_view) const override { return runningCopies; }
  std::optional<std::filesystem::path> installed(std::string_view) const override { return installedCopy; }

  std::vector<std::optional<std::filesystem::path>> runningCopies;
  std::optional<std::filesystem::path> installedCopy;
};

struct FakeFileManager : FileManager {
  bool isExecutableFile(const std::filesystem::path& path) const override { return executables.contains(path); }

  std::set<std::filesystem::path> executables;
};

/// Prints the crontab, and words without their backslashes; keeps what it is asked to start.
struct FakeCommands : Commands {
  std::optional<Texts> run(const std::string& path, const Texts& arguments) override {
    commands.push_back(path + " " + arguments.at(0));
    if (whileRunning) whileRunning();
    if (path == "/usr/bin/crontab") return crontab;
    std::string word = arguments.at(1).substr(std::string("echo -n ").size());
    std::erase(word, '\\');
    return word.empty() ? Texts{} : Texts{word};
  }
  void start(const std::string& path, const Texts& arguments) override {
    launched.push_back(path + " " + arguments.at(0));
  }

  std::optional<Texts> crontab;
  std::function<void()> whileRunning;
  Texts commands, launched;
};

struct FakePowerAssertions : PowerAssertions {
  Created create(std::string_view type, std::string_view name, std::string_view details) override {
    created.push_back(std::string(type).append("|").append(name).append("|").append(details));
    return {.result = result, .identifier = 42};
  }
  void release(std::uint32_t identifier) override { released.push_back(identifier); }

  std::int32_t result = 0;
  Texts created;
  std::vector<std::uint32_t> released;
};

/// Keeps events as lines; what is set is listed from then on.
struct FakeWakeEvents : WakeEvents {
  std::optional<Texts> list(const std::filesystem::path&) override {
    return hasListing ? std::optional(events) : std::nullopt;
  }
  void cancel(const std::filesystem::path& agent, const std::string& dateAndTime) override {
    calls.push_back(agent.string() + " cancel " + dateAndTime);
    std::erase_if(events, [&](const auto& event) { return event.ends_with(dateAndTime + " by 'ZTAgent'"); });
  }
  void wake(const std::filesystem::path& agent, const std::string& time) override {
    calls.push_back(agent.string() + " wake " + time);
    events.push_back("[9] wake at " + time + " by 'ZTAgent'");
  }

  bool hasListing = true;
  Texts events, calls;
};

struct FakeUnifiedLog : UnifiedLog {
  struct Entry {
    LogLevel level;
    std::string subsystem, category, message;
    bool operator==(const Entry&) const = default;
  };
  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override {
    entries.push_back({level, std::string(subsystem), std::string(category), std::string(message)});
  }

  std::vector<Entry> entries;
};

struct FakePlainLog : PlainLog {
  void write(std::string_view message) override { entries.emplace_back(message); }

  Texts entries;
};

}  // namespace zt
