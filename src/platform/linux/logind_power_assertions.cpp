#include "platform/linux/logind_power_assertions.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/linux/systemd_library.h"

namespace zt::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto longestWait = 2s;
constexpr int noAnswerYet = 0;  // no lock has the descriptor of a standard stream

/// Stores the descriptor of the lock, or a negative errno, in `userdata`, an int.
int takeAnswer(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/) {
  const auto& systemd = *SystemdLibrary::load();  // loaded: it calls this function
  int descriptor = -1;
  int result = -systemd.sd_bus_message_get_errno(message);
  if (result == 0) result = systemd.sd_bus_message_read(message, "h", &descriptor);
  if (result >= 0) {
    // The message owns its descriptor.
    result = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (result < 0) result = -errno;
  }
  *static_cast<int*>(userdata) = result;
  return 0;
}

/// The descriptor of a new lock, or a negative errno.
int inhibit(const std::string& what, const std::string& who, const std::string& why) {
  // Without a bus, loading the library would be in vain.
  if (std::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr && ::access("/run/dbus/system_bus_socket", F_OK) != 0)
    return -errno;
  const auto* systemd = SystemdLibrary::load();
  if (systemd == nullptr) return -ELIBACC;

  const auto end = steady_clock::now() + longestWait;
  sd_bus* opened = nullptr;
  int result = systemd->sd_bus_open_system(&opened);
  if (result < 0) return result;
  const std::unique_ptr<sd_bus, decltype(systemd->sd_bus_close_unref)> bus(opened, systemd->sd_bus_close_unref);

  // Not sd_bus_call(): its timeout starts only after the bus has accepted us, and a bus that hangs never does.
  int answer = noAnswerYet;
  result = systemd->sd_bus_call_method_async(bus.get(), nullptr, "org.freedesktop.login1", "/org/freedesktop/login1",
                                             "org.freedesktop.login1.Manager", "Inhibit", takeAnswer, &answer, "ssss",
                                             what.c_str(), who.c_str(), why.c_str(), "block");
  while (result >= 0 && answer == noAnswerYet) {
    result = systemd->sd_bus_process(bus.get(), nullptr);
    if (result != 0) continue;
    const std::chrono::microseconds left = std::chrono::floor<std::chrono::microseconds>(end - steady_clock::now());
    if (left <= 0us) return -ETIMEDOUT;
    result = systemd->sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left.count()));
    if (result == -EINTR) result = 0;
  }
  return result < 0 ? result : answer;
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
