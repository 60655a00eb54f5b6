#pragma once

#include <functional>
#include <stop_token>
#include <thread>

namespace zt::platform {

/// Starts `work`, which must not throw, on a new thread, which the caller joins or detaches. If no thread can be
/// started, the process ends by fatal().
std::jthread startBackgroundThread(std::function<void(std::stop_token)> work);

}  // namespace zt::platform
