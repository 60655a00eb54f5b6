#include "platform/linux/background_thread.h"

#include <system_error>
#include <utility>

#include "platform/linux/fatal.h"

namespace zt::platform {

std::jthread startBackgroundThread(std::function<void(std::stop_token)> work) {
  try {
    return std::jthread(std::move(work));
  } catch (const std::system_error& error) {
    fatal("cannot start a thread", error.code().value());
  }
}

}  // namespace zt::platform
