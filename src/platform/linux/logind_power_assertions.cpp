#include "platform/linux/logind_power_assertions.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "platform/linux/bus_connection.h"

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

/// The descriptor of a new lock, or a negative errno.
int inhibit(const std::string& what, const std::string& who, const std::string& why) {
  BusConnection bus(2s);
  if (const int result = bus.openSystemBus(); result < 0) return result;
  const auto reply =
      bus.call({"org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit"},
               "ssss", what.c_str(), who.c_str(), why.c_str(), "block");
  if (reply.result < 0) return reply.result;
  int descriptor = -1;
  if (const int result = bus.systemd().sd_bus_message_read(reply.message.get(), "h", &descriptor); result < 0)
    return result;
  // The message owns its descriptor.
  const int lock = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  return lock < 0 ? -errno : lock;
}

}  // namespace

PowerAssertions::Created LogindPowerAssertions::create(std::string_view type, std::string_view name,
                                                       std::string_view details) {
  if (type != "PreventUserIdleSystemSleep") return {.result = -EINVAL, .identifier = 0};
  const int lock = inhibit("idle", std::string(name), std::string(details));
  if (lock < 0) return {.result = lock, .identifier = 0};
  const auto identifier = static_cast<std::uint32_t>(lock);
  locks_.try_emplace(identifier, lock);
  return {.result = 0, .identifier = identifier};
}

void LogindPowerAssertions::release(std::uint32_t identifier) {
  locks_.erase(identifier);
}

}  // namespace zt::platform
