#pragma once

#include <functional>
#include <map>
#include <set>
#include <utility>

#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/log_sinks.h"
#include "platform/wake_events.h"

namespace zt {

using namespace platform;  // the interfaces that these are fakes of

using Texts = std::vector<std::string>;

/// Thrown where a failing call would end the process.
struct EndOfProcess {};

/// Records calls as texts that begin with the kind of call. One of them can fail. It is a virtual base of the fakes, so
/// that an object that consists of several fakes has one record of all calls, in order.
struct CallRecord {
  /// Gives whether the call succeeds.
  bool add(const std::string& call) const {
    all.push_back(call);
    if (const auto happens = meanwhile.extract(call)) happens.mapped()();
    return all.size() != toFail;
  }

  /// The same for a program that is run to its end.
  bool addProgram(const std::string& call) const {
    if (add(call)) return true;
    if (!programsStart) throw EndOfProcess();
    return false;
  }

  /// The calls of one kind, without that word.
  Texts of(const std::string& kind) const {
    Texts result;
    for (const auto& call : all) {
      if (call.starts_with(kind + " ")) result.push_back(call.substr(kind.size() + 1));
    }
    return result;
  }

  std::size_t toFail = 0;     ///< the number of the call that fails, from 1
  bool programsStart = true;  ///< whether a program that fails has at least started
  mutable Texts all{};
  mutable std::map<std::string, std::function<void()>> meanwhile{};  ///< what happens in the first call with this text
};

struct FakeFileManager : FileManager, virtual CallRecord {
  bool isExecutableFile(const std::filesystem::path& path) const override {
    return add("executable? " + path.string()) && executables.contains(path);
  }

  std::set<std::filesystem::path> executables;
};

/// bash prints words without their backslashes, and any other program the crontab.
struct FakeCommands : Commands, virtual CallRecord {
  std::optional<Texts> run(const Command& command) override {
    std::string call = "run " + command.path;
    for (const auto& argument : command.arguments) call += " " + argument;
    if (!addProgram(call)) return std::nullopt;
    if (command.path != "/bin/bash") return crontab;
    std::string word = command.arguments.at(1).substr(std::string("echo -n ").size());
    std::erase(word, '\\');
    return word.empty() ? Texts{} : Texts{word};
  }
  void start(const Command& command, const std::string& description) override {
    descriptions.push_back(description);
    if (!add("start " + command.path + " " + command.arguments.at(0))) throw EndOfProcess();
  }

  std::optional<Texts> crontab;
  Texts descriptions;  ///< of what was started
};

/// Always lists the same events.
struct FakeWakeEvents : WakeEvents, virtual CallRecord {
  std::optional<Texts> list(const std::filesystem::path& agent) override {
    return addProgram(agent.string() + " list") && hasListing ? std::optional(events) : std::nullopt;
  }
  void cancel(const std::filesystem::path& agent, const std::string& dateAndTime) override {
    addProgram(calls.emplace_back(agent.string() + " cancel " + dateAndTime));
  }
  void wake(const std::filesystem::path& agent, const std::string& time) override {
    addProgram(calls.emplace_back(agent.string() + " wake " + time));
  }

  bool hasListing = true;
  Texts events, calls;
};

struct FakeUnifiedLog : UnifiedLog, virtual CallRecord {
  struct Entry {
    LogLevel level;
    std::string subsystem, category, message;
    bool operator==(const Entry&) const = default;
  };
  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override {
    entries.push_back({level, std::string(subsystem), std::string(category), std::string(message)});
    add((level == LogLevel::error ? "log ERROR: " : "log INFO: ") + entries.back().message);
  }

  std::vector<Entry> entries;
};

struct FakePlainLog : PlainLog, virtual CallRecord {
  void write(std::string_view message) override { add("log " + std::string(message)); }
};

}  // namespace zt
