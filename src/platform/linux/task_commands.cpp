#include "platform/linux/task_commands.h"

#include "util/process_runner.h"

namespace zt {

std::optional<std::vector<std::string>> TaskCommands::shell(const std::string& path,
                                                            const std::vector<std::string>& arguments) {
  return zt::shell(Task(path, arguments));
}

void TaskCommands::spawn(const std::string& path, const std::vector<std::string>& arguments) {
  zt::spawn(Task(path, arguments));
}

}  // namespace zt
