#pragma once

#include <functional>
#include <stop_token>
#include <thread>

namespace zt::platform {

/// Starts `work`, which must not throw, on a thread of its own, for the caller to join or detach. Where the machine has
/// none to give, the process ends by fatal().
std::jthread startBackgroundThread(std::function<void(std::stop_token)> work);

}  // namespace zt::platform
