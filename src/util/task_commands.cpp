#include "util/task_commands.h"

#include <utility>

#include "platform/trust.h"

namespace zt::util {
namespace {

platform::Task taskFor(const platform::Command& command) {
  platform::Task task(command.path, command.arguments);
  task.setEnvironment(command.environment);
  return task;
}

}  // namespace

std::optional<std::vector<std::string>> TaskCommands::run(const platform::Command& command) {
  forgetEnded();
  if (!isTrusted(command)) return std::nullopt;
  auto [lines, killedBecause, signal] = shell(taskFor(command), limits_);
  if (killedBecause.empty() && signal == 0) return std::move(lines).value_or(std::vector<std::string>());
  // The first argument is the verb of the agent; the others can be anything.
  const auto program = command.path + (command.arguments.empty() ? "" : " " + command.arguments.front());
  report_(signal == 0 ? "Killed " + program + ": " + killedBecause + "."
                      : program + " was killed by signal " + std::to_string(signal) + ".");
  return std::nullopt;
}

void TaskCommands::start(const platform::Command& command, const std::string& description) {
  forgetEnded();
  if (!isTrusted(command)) return;
  started_.push_back(taskFor(command));
  started_.back().setGroup(platform::Task::Group::inOwnSession);
  spawn(started_.back());
  if (reportStarted_) reportStarted_(started_.back().processIdentifier(), description);
}

bool TaskCommands::isTrusted(const platform::Command& command) const {
  // The system's own programs may belong to any user and group.
  if (command.path.find(".app/Contents/") == std::string::npos) return true;
  const auto reason = platform::distrust(command.path);
  if (reason) report_("Not starting " + command.path + ": " + *reason + ".");
  return !reason;
}

void TaskCommands::forgetEnded() {
  std::erase_if(started_, [](platform::Task& task) { return task.hasExited(); });
}

}  // namespace zt::util
