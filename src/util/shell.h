#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/task.h"

namespace zt {

/// Runs a task to completion. Gives the lines of its standard output and standard error, in the
/// order in which the child wrote them, without empty ones; nullopt when they are not valid UTF-8.
/// The exit status is not looked at. A launch path or arguments that are absent leave what the task
/// holds; the task is not to be run again. Returns once the child has exited and everything that it
/// handed its output to has closed it.
std::optional<std::vector<std::string>> shell(Task& task, std::optional<std::string> launchPath = std::nullopt,
                                              std::optional<std::vector<std::string>> arguments = std::nullopt);

}  // namespace zt
