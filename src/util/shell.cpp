#include "util/shell.h"

#include <memory>
#include <utility>

#include "util/text.h"

namespace zt {

std::optional<std::vector<std::string>> shell(Task& task, std::optional<std::string> launchPath,
                                              std::optional<std::vector<std::string>> arguments) {
  if (launchPath) task.setLaunchPath(*std::move(launchPath));
  if (arguments) task.setArguments(std::move(arguments));
  const auto pipe = std::make_shared<Pipe>();
  task.setStandardOutput(pipe);
  task.setStandardError(pipe);
  task.launch();

  std::string output;
  for (std::string data; !(data = pipe->fileHandleForReading().availableData()).empty();) {
    output += data;
  }
  task.waitUntilExit();
  if (!isValidUtf8(output)) return std::nullopt;
  return lines(output);
}

}  // namespace zt
