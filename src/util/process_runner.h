#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/task.h"

namespace zt::util {

// Operations on tasks. A child that cannot be started ends this process, on any thread (see Task::launch).

/// Receives the output and the termination status of a task, on a background thread. Must not throw.
using Completion = std::function<void(const std::string& text, std::int32_t status)>;

/// Runs a task to completion. Gives the lines of its standard output and standard error in the order in which they were
/// written, without empty ones; nullopt if they are not valid UTF-8. The termination status is ignored. An absent
/// launch path or absent arguments leave those of the task; its output streams and its termination handler are
/// replaced. Returns when the child has exited and every process that inherited its output has closed it.
std::optional<std::vector<std::string>> shell(platform::Task task, std::optional<std::string> launchPath = std::nullopt,
                                              std::optional<std::vector<std::string>> arguments = std::nullopt);

/// What a task may use.
struct Limits {
  std::chrono::milliseconds awakeTime;  ///< seconds in which the machine is suspended do not count
  std::size_t bytes;                    ///< of output
};

struct LimitedOutput {
  std::optional<std::vector<std::string>> lines;  ///< as from shell() without limits; nullopt if it was killed
  std::string killedBecause;                      ///< empty if it was not killed here
  std::int32_t signal = 0;                        ///< that killed it, if that was not done here
};

/// Like shell() for a task that may never end, or leave processes behind that hold its output. At a limit the task is
/// killed with all processes of its group, which is its own, and this returns within 100 milliseconds.
LimitedOutput shell(platform::Task task, const Limits& limits);

/// Launches a task and leaves it running, with its streams and its handler. An absent launch path or absent arguments
/// leave those of the task.
void spawn(platform::Task task, std::optional<std::string> launchPath = std::nullopt,
           std::optional<std::vector<std::string>> arguments = std::nullopt);

/// Makes `next` read what `upstream` writes: a pipe becomes the standard output of `upstream` and the standard input of
/// `next`, and a second pipe becomes both output streams of `next`. Gives `next`, so that another pipe() can extend the
/// chain. Launches nothing: launching `upstream` starts the chain.
///
/// `upstream` gets a termination handler, in place of its own, that launches `next`. The two do not run at the same
/// time: nobody reads while `upstream` writes, so writing more than a pipe holds, 64 KiB on Linux by default (pipe(7)),
/// blocks it for good. The same is true of `next`. The standard error of a task within a chain is lost.
///
/// With a completion, `next` reports as by complete(), unless another pipe() extends the chain; without one its
/// termination handler stays.
platform::Task pipe(platform::Task upstream, platform::Task next, Completion completion = nullptr);

/// Calls `completion` once after the task has exited, with its termination status and with the result of one read of
/// its standard output: empty if that is not valid UTF-8, or if standard output is not a pipe. Nobody reads before
/// that, so a task that writes more than its pipe holds does not exit. If the pipe is empty but a process that the task
/// left behind still has it open, the read waits. Replaces the termination handler, launches nothing, and gives the
/// task.
platform::Task complete(platform::Task task, Completion completion);

}  // namespace zt::util
