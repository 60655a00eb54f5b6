#include "platform/linux/task_commands.h"

#include "platform/task.h"
#include "util/shell.h"

namespace zt {

std::optional<std::vector<std::string>> TaskCommands::shell(const std::string& path,
                                                            const std::vector<std::string>& arguments) {
  Task task;
  return zt::shell(task, path, arguments);
}

void TaskCommands::launch(const std::string& path, const std::vector<std::string>& arguments) {
  Task task;
  task.setLaunchPath(path);
  task.setArguments(arguments);
  task.launch();
}

}  // namespace zt
