#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/commands.h"
#include "platform/task.h"
#include "util/process_runner.h"

namespace zt::util {

/// Runs commands as child processes of this one. Those that are run to completion have limits. A program of a bundle is
/// not started if another user can have put it there: the bundle can have been replaced since it was found.
class TaskCommands final : public platform::Commands {
 public:
  /// Receives one line about each command that was killed, here at a limit or by something else, or was not started.
  using Report = std::function<void(const std::string& line)>;

  /// Receives the process number of a program that start() has started, and its description. May not block.
  using Started = std::function<void(std::int32_t process, const std::string& description)>;

  TaskCommands(const Limits& limits, Report report, Started started = nullptr)
      : limits_(limits), report_(std::move(report)), reportStarted_(std::move(started)) {}

  std::optional<std::vector<std::string>> run(const platform::Command& command) override;
  void start(const platform::Command& command, const std::string& description) override;

 private:
  bool isTrusted(const platform::Command& command) const;
  /// Those that have exited would remain zombies, and a run can take hours.
  void forgetEnded();

  Limits limits_;
  Report report_;
  Started reportStarted_;
  std::vector<platform::Task> started_;  ///< and not known to have exited
};

}  // namespace zt::util
