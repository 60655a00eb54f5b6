#include "ztschedules/crontab_text.h"

#include <unistd.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "discovery/crontab_reader.h"
#include "platform/file_contents.h"
#include "platform/task.h"
#include "util/text.h"
#include "ztschedules/terminal_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;
using platform::fileContents;

/// Whether this is what crontab prints for a user who has none: Vixie cron and systemd-cron, or bcron.
bool saysThereIsNone(std::string_view message) {
  return message.find("no crontab for ") != message.npos || message.find("Crontab does not exist") != message.npos;
}

/// Not the tool's way to run commands: that loses the exit status, and with it the difference between an empty crontab
/// and one that cannot be read. It also takes messages for lines, which would not have their numbers then.
std::string usersCrontab(const platform::FileManager& fileManager) {
  if (!fileManager.isExecutableFile(crontabProgram)) {
    throw std::runtime_error(std::string("cannot run ") + crontabProgram);
  }
  constexpr std::size_t mostErrors = 65'536;  // bytes, about
  std::string errorText;
  std::promise<void> endOfErrors;
  platform::Task task(crontabProgram, std::vector<std::string>{crontabArgument});
  const auto output = std::make_shared<platform::Pipe>();
  const auto errors = std::make_shared<platform::Pipe>();
  task.setStandardOutput(output);
  task.setStandardError(errors);
  task.launch();
  // Both are read at once: crontab would wait for ever to write into a full pipe.
  errors->fileHandleForReading().setReadabilityHandler([&](platform::FileHandle& handle) {
    const auto data = handle.availableData();
    if (errorText.size() < mostErrors) errorText += data;
    if (data.empty()) endOfErrors.set_value();
  });
  auto text = fileContents(output->fileHandleForReading().fileDescriptor(), "the output of crontab");
  task.waitUntilExit();
  // A process that it has left behind may hold its standard error for long.
  endOfErrors.get_future().wait_for(1s);
  errors->fileHandleForReading().setReadabilityHandler(nullptr);

  const int status = task.terminationStatus();
  const bool isMissing = status != 0 && saysThereIsNone(errorText);
  const auto messages = util::lines(errorText.empty() && status != 0 ? text : errorText);
  if (status != 0 && !isMissing) {
    std::string reasons;
    for (const auto& message : messages) reasons += (reasons.empty() ? ": " : "; ") + message;
    const auto* how = task.wasKilled() ? "was ended by signal " : "failed with status ";
    throw std::runtime_error(std::string("crontab ") + how + std::to_string(status) + reasons);
  }
  for (const auto& message : messages) printMessage(message);
  return isMissing ? std::string() : text;
}

}  // namespace

std::string crontabText(const std::optional<std::string>& file, const platform::FileManager& fileManager) {
  if (!file) return usersCrontab(fileManager);
  return *file == "-" ? fileContents(STDIN_FILENO, "standard input") : fileContents(*file);
}

}  // namespace zt
