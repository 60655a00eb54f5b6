#pragma once

#include <functional>
#include <map>
#include <set>

#include "platform/applications.h"
#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/power_assertions.h"
#include "platform/wake_events.h"

namespace zt {

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
  using Output = std::optional<std::vector<std::string>>;

  Output shell(const std::string& path, const std::vector<std::string>& arguments) override {
    commands.push_back(path + " " + arguments.at(0));
    if (whileRunning) whileRunning();
    if (path == "/usr/bin/crontab") return crontab;
    if (scripted.contains(arguments.at(1))) return scripted.at(arguments.at(1));
    std::string word = arguments.at(1).substr(std::string("echo -n ").size());
    std::erase(word, '\\');
    return word.empty() ? std::vector<std::string>{} : std::vector{word};
  }
  void launch(const std::string& path, const std::vector<std::string>& arguments) override {
    launched.push_back(path + " " + arguments.at(0));
  }

  Output crontab;
  std::map<std::string, Output> scripted;  ///< by the text that bash is given
  std::function<void()> whileRunning;
  std::vector<std::string> commands;
  std::vector<std::string> launched;
};

struct FakePowerAssertions : PowerAssertions {
  Created create(std::string_view type, std::string_view name, std::string_view details) override {
    created.push_back(std::string(type).append("|").append(name).append("|").append(details));
    return {.result = result, .identifier = 42};
  }
  void release(std::uint32_t identifier) override { released.push_back(identifier); }

  std::int32_t result = 0;
  std::vector<std::string> created;
  std::vector<std::uint32_t> released;
};

/// Keeps events as lines; what is set is listed from then on.
struct FakeWakeEvents : WakeEvents {
  std::optional<std::vector<std::string>> list(const std::filesystem::path&) override {
    return hasListing ? std::optional(events) : std::nullopt;
  }
  void cancel(const std::filesystem::path& agent, const std::string& dateAndTime) override {
    calls.push_back(agent.string() + " cancel " + dateAndTime);
    std::erase_if(events,
                  [&](const auto& event) { return event.find(dateAndTime + " by 'ZTAgent'") != std::string::npos; });
  }
  void wake(const std::filesystem::path& agent, const std::string& time) override {
    calls.push_back(agent.string() + " wake " + time);
    events.push_back("[9] wake at " + time + " by 'ZTAgent'");
  }

  bool hasListing = true;
  std::vector<std::string> events;
  std::vector<std::string> calls;
};

}  // namespace zt
