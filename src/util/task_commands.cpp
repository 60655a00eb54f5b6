#include "util/task_commands.h"

#include "util/process_runner.h"

namespace zt::util {
namespace {

platform::Task taskFor(const platform::Command& command) {
  platform::Task task(command.path, command.arguments);
  task.setEnvironment(command.environment);
  return task;
}

}  // namespace

std::optional<std::vector<std::string>> TaskCommands::run(const platform::Command& command) {
  return shell(taskFor(command));
}

void TaskCommands::start(const platform::Command& command) {
  spawn(taskFor(command));
}

}  // namespace zt::util
