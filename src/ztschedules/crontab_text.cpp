#include "ztschedules/crontab_text.h"

#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "discovery/crontab_reader.h"
#include "platform/file_contents.h"
#include "platform/task.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

using platform::fileContents;

/// Not the tool's way to run commands: that loses the exit status, and with it the difference between an empty crontab
/// and one that cannot be read.
std::string usersCrontab(const platform::FileManager& fileManager) {
  if (!fileManager.isExecutableFile(crontabProgram)) {
    throw std::runtime_error(std::string("cannot run ") + crontabProgram);
  }
  platform::Task task(crontabProgram, std::vector<std::string>{crontabArgument});
  const auto output = std::make_shared<platform::Pipe>();
  task.setStandardOutput(output);
  task.setStandardError(output);
  task.launch();
  auto text = fileContents(output->fileHandleForReading().fileDescriptor(), crontabProgram);
  task.waitUntilExit();
  if (task.terminationStatus() == 0) return text;

  const auto message = text.substr(0, text.find('\n'));
  if (!message.starts_with("no crontab for ")) {
    throw std::runtime_error("crontab failed with status " + std::to_string(task.terminationStatus()) + ": " + message);
  }
  printMessage(message);
  return {};
}

}  // namespace

std::string crontabText(const std::optional<std::string>& file, const platform::FileManager& fileManager) {
  if (!file) return usersCrontab(fileManager);
  return *file == "-" ? fileContents(STDIN_FILENO, "standard input") : fileContents(*file);
}

}  // namespace zt
