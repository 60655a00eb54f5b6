#include "util/task_commands.h"

#include "util/process_runner.h"

namespace zt::util {

std::optional<std::vector<std::string>> TaskCommands::run(const std::string& path,
                                                          const std::vector<std::string>& arguments) {
  return shell(platform::Task(path, arguments));
}

void TaskCommands::start(const std::string& path, const std::vector<std::string>& arguments) {
  spawn(platform::Task(path, arguments));
}

}  // namespace zt::util
