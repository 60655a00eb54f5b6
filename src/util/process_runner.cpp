#include "util/process_runner.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>

#include "util/text.h"

namespace zt::util {
namespace {

using namespace std::chrono_literals;

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

/// Collects the output of a task. The threads that read it and that wait for the task keep it alive.
class Output : public std::enable_shared_from_this<Output> {
 public:
  /// Beyond `mostBytes` nothing is kept.
  explicit Output(std::size_t mostBytes) : mostBytes_(mostBytes) {}

  /// Launches the task, and collects what it prints until it has exited and no process has the output open any more.
  void collect(platform::Task& task) {
    const auto pipe = std::make_shared<platform::Pipe>();
    pipe->fileHandleForReading().setReadabilityHandler(
        [output = shared_from_this()](platform::FileHandle& handle) { output->append(handle.availableData()); });
    task.setStandardOutput(pipe);
    task.setStandardError(pipe);
    task.setTerminationHandler([output = shared_from_this()](platform::Task& ended) {
      output->set(&Output::hasExited_);
      // There can still be output to read, from processes that the child left behind as well.
      output->wait([&] { return output->isAtEnd_.load(); });
      output->stopReading(ended);
    });
    task.launch();
  }

  void wait() {
    wait([this] { return isComplete(); });
  }

  /// Waits until the output is complete, or is too much, or until `end`.
  void waitUntil(std::chrono::steady_clock::time_point end) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, end, [this] { return isComplete() || isTooMuch_; });
  }

  /// Takes no more of the output, even if a process goes on to write.
  void giveUp(platform::Task& task) {
    stopReading(task);
    set(&Output::isAtEnd_);
  }

  bool isComplete() const { return hasExited_ && isAtEnd_; }
  bool isTooMuch() const { return isTooMuch_; }

  /// Of complete output.
  std::optional<std::vector<std::string>> lines() const {
    if (!isValidUtf8(bytes_)) return std::nullopt;
    return util::lines(bytes_);
  }

 private:
  using Flag = std::atomic<bool>;

  void append(const std::string& data) {
    if (data.empty()) return set(&Output::isAtEnd_);
    if (bytes_.size() + data.size() > mostBytes_) return set(&Output::isTooMuch_);
    bytes_ += data;
  }
  void stopReading(platform::Task& task) {
    const std::lock_guard lock(stopping_);
    if (auto* handle = outputOf(task)) handle->closeFile();
  }
  void wait(const auto& condition) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, condition);
  }
  void set(Flag Output::*flag) {
    const std::lock_guard lock(mutex_);
    this->*flag = true;
    changed_.notify_all();
  }

  const std::size_t mostBytes_;
  std::string bytes_;  ///< belongs to the thread that reads, until the output is complete
  std::mutex stopping_;
  std::mutex mutex_;  ///< held when a flag is set
  std::condition_variable changed_;
  Flag hasExited_ = false, isAtEnd_ = false, isTooMuch_ = false;
};

std::string inWords(std::chrono::milliseconds duration) {
  if (duration % 1s != 0s) return std::to_string(duration.count()) + " milliseconds";
  return std::to_string(duration / 1s) + " seconds";
}

}  // namespace

std::optional<std::vector<std::string>> shell(platform::Task task, std::optional<std::string> launchPath,
                                              std::optional<std::vector<std::string>> arguments) {
  setCommand(task, std::move(launchPath), std::move(arguments));
  const auto output = std::make_shared<Output>(std::numeric_limits<std::size_t>::max());
  output->collect(task);
  output->wait();
  return output->lines();
}

LimitedOutput shell(platform::Task task, const Limits& limits) {
  const auto end = std::chrono::steady_clock::now() + limits.awakeTime;
  const auto output = std::make_shared<Output>(limits.bytes);
  task.setGroup(platform::Task::Group::own);
  output->collect(task);
  output->waitUntil(end);
  // If this process was stopped meanwhile, its threads may have to read first what the task printed in time.
  output->waitUntil(std::chrono::steady_clock::now() + 100ms);
  if (output->isComplete() && !output->isTooMuch()) {
    // What it has printed can be anything up to all of it: an empty crontab, for example.
    if (task.wasKilled()) return {.lines = {}, .killedBecause = {}, .signal = task.terminationStatus()};
    return {.lines = output->lines(), .killedBecause = {}};
  }
  const bool hasExited = task.hasExited();
  task.killGroup();
  // Nobody waits for its end: a process in a system call may not end, and one that has left the group is not killed.
  output->giveUp(task);
  if (output->isTooMuch()) return {{}, "it printed more than " + std::to_string(limits.bytes) + " bytes"};
  if (!hasExited) return {{}, "it did not end within " + inWords(limits.awakeTime)};
  return {{}, "a process that it left behind still held its output after " + inWords(limits.awakeTime)};
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
