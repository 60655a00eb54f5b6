#include "util/process_runner.h"

#include <latch>
#include <memory>
#include <utility>

#include "util/text.h"

namespace zt::util {
namespace {

void setCommand(platform::Task& task, std::optional<std::string> launchPath,
                std::optional<std::vector<std::string>> arguments) {
  if (launchPath) task.setLaunchPath(*std::move(launchPath));
  if (arguments) task.setArguments(std::move(arguments));
}

/// The end from which this process reads the standard output of the task; null if that is not a pipe.
platform::FileHandle* outputOf(const platform::Task& task) {
  const auto* pipe = std::get_if<std::shared_ptr<platform::Pipe>>(&task.standardOutput());
  return pipe == nullptr ? nullptr : &(*pipe)->fileHandleForReading();
}

platform::Task::TerminationHandler completionReader(Completion completion) {
  return [completion = std::move(completion)](platform::Task& task) {
    if (!completion) return;
    std::string text;
    if (auto* output = outputOf(task)) text = output->availableData();
    if (!isValidUtf8(text)) text.clear();
    completion(text, task.terminationStatus());
  };
}

/// What shell() collects. One background thread fills it; others may read it when it is complete.
struct OutputBuffer {
  std::string bytes;
  std::latch complete{1};
};

}  // namespace

std::optional<std::vector<std::string>> shell(platform::Task task, std::optional<std::string> launchPath,
                                              std::optional<std::vector<std::string>> arguments) {
  setCommand(task, std::move(launchPath), std::move(arguments));
  const auto pipe = std::make_shared<platform::Pipe>();
  const auto output = std::make_shared<OutputBuffer>();
  pipe->fileHandleForReading().setReadabilityHandler([output](platform::FileHandle& handle) {
    const auto data = handle.availableData();
    output->bytes += data;
    if (data.empty()) output->complete.count_down();
  });
  task.setStandardOutput(pipe);
  task.setStandardError(pipe);
  task.setTerminationHandler([output](platform::Task& ended) {
    // After the exit of the child there can still be output to read, from processes that it left behind as well.
    output->complete.wait();
    if (auto* handle = outputOf(ended)) handle->setReadabilityHandler(nullptr);
  });
  task.launch();
  task.waitUntilExit();
  output->complete.wait();
  if (!isValidUtf8(output->bytes)) return std::nullopt;
  return lines(output->bytes);
}

void spawn(platform::Task task, std::optional<std::string> launchPath,
           std::optional<std::vector<std::string>> arguments) {
  setCommand(task, std::move(launchPath), std::move(arguments));
  task.launch();
}

platform::Task pipe(platform::Task upstream, platform::Task next, Completion completion) {
  const auto between = std::make_shared<platform::Pipe>();
  const auto after = std::make_shared<platform::Pipe>();
  upstream.setStandardOutput(between);
  next.setStandardInput(between);
  next.setStandardOutput(after);
  next.setStandardError(after);
  upstream.setTerminationHandler([next](platform::Task&) mutable { next.launch(); });
  if (completion) next.setTerminationHandler(completionReader(std::move(completion)));
  return next;
}

platform::Task complete(platform::Task task, Completion completion) {
  task.setTerminationHandler(completionReader(std::move(completion)));
  return task;
}

}  // namespace zt::util
