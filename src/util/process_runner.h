#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/task.h"

namespace zt::util {

// What can be done with a task beyond launching it. A child that cannot be started ends this process, on
// whichever thread that happens (see Task::launch).

/// Gets a task's output and its termination status, on a background thread. It must not throw.
using Completion = std::function<void(const std::string& text, std::int32_t status)>;

/// Runs a task to completion. Gives the lines of its standard output and standard error, in the order in
/// which the child wrote them, without empty ones; nullopt when they are not valid UTF-8. The termination
/// status is not looked at. A launch path or arguments that are absent leave what the task holds; its
/// output slots and its termination handler are replaced. Returns once the child has exited and everything
/// that it handed its output to has closed it.
std::optional<std::vector<std::string>> shell(platform::Task task, std::optional<std::string> launchPath = std::nullopt,
                                              std::optional<std::vector<std::string>> arguments = std::nullopt);

/// Launches a task and leaves it running, with the streams and the handler that it holds. A launch path or
/// arguments that are absent leave what it holds.
void spawn(platform::Task task, std::optional<std::string> launchPath = std::nullopt,
           std::optional<std::vector<std::string>> arguments = std::nullopt);

/// Has `next` read what `upstream` writes: a pipe becomes the standard output of the one and the standard
/// input of the other, and a second pipe becomes both output streams of `next`. Gives back `next`, for a
/// further pipe() to extend the chain. Launches nothing: whoever launches `upstream` starts the chain.
///
/// `upstream` gets a termination handler, in place of its own, that launches `next`. They do not run side by
/// side: nobody reads while `upstream` writes, and more than a pipe takes, 64 KiB on Linux by default
/// (pipe(7)), blocks it for good. So it does with `next`. What a task in the middle of a chain writes to its
/// standard error is lost.
///
/// With a completion, `next` reports as by complete(), if no further pipe() extends the chain; without one
/// its termination handler stays as it is.
platform::Task pipe(platform::Task upstream, platform::Task next, Completion completion = nullptr);

/// Has `completion` called once after the task has exited, with its termination status and with what one
/// read of its standard output gives: empty where that is not valid UTF-8 or the standard output is no pipe.
/// Nobody reads before, so a task that writes more than its pipe takes does not exit; and while the pipe is
/// empty but held by a process that the task left behind, the read waits for that.
/// Replaces the termination handler, launches nothing, and gives back the task.
platform::Task complete(platform::Task task, Completion completion);

}  // namespace zt::util
