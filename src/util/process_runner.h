#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/task.h"

namespace zt {

// What can be done with a task beyond launching it. A child that cannot be started ends this process, on
// whichever thread that happens (see Task::launch).

/// Gets a task's output and its termination status, on a background thread.
using Completion = std::function<void(const std::string& text, std::int32_t status)>;

/// Runs a task to completion. Gives the lines of its standard output and standard error, in the order in
/// which the child wrote them, without empty ones; nullopt when they are not valid UTF-8. The termination
/// status is not looked at. A launch path or arguments that are absent leave what the task holds; its
/// output slots and its termination handler are replaced. Returns once the child has exited and everything
/// that it handed its output to has closed it.
std::optional<std::vector<std::string>> shell(Task task, std::optional<std::string> launchPath = std::nullopt,
                                              std::optional<std::vector<std::string>> arguments = std::nullopt);

/// Launches a task and leaves it running, with the streams and the handler that it holds. A launch path or
/// arguments that are absent leave what it holds.
void spawn(Task task, std::optional<std::string> launchPath = std::nullopt,
           std::optional<std::vector<std::string>> arguments = std::nullopt);

/// Makes the standard output of `upstream` the standard input of `next`, and gives back `next`, for a
/// further pipe() to extend the chain. Launches nothing: whoever launches `upstream` starts the chain.
///
/// `next` is launched when `upstream` has exited, not side by side with it. So what `upstream` writes has
/// to fit into a pipe, 64 KiB on Linux by default (pipe(7)); more blocks it for good. The same holds for
/// what `next` writes to its two output streams, which share a pipe.
///
/// With a completion, `next` reports as by complete(); without one its termination handler stays as it is.
Task pipe(Task upstream, Task next, Completion completion = nullptr);

/// Has `completion` called once after the task has exited, with what one read of its standard output gives
/// and with its termination status. The text is empty where it is not valid UTF-8 and where the standard
/// output is no pipe. Replaces the termination handler, launches nothing, and gives back the task.
Task complete(Task task, Completion completion);

}  // namespace zt
