#pragma once

#include <functional>
#include <stop_token>
#include <thread>

namespace zt {

/// Starts `work` on a thread of its own. Where the machine has none to give, the process ends by fatal().
std::jthread startBackgroundThread(std::function<void(std::stop_token)> work);

}  // namespace zt
