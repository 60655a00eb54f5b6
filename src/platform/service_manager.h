#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace zt::platform {

/// The service manager does not answer, or refuses a request.
struct ServiceManagerError : std::runtime_error {
  using runtime_error::runtime_error;
};

/// The user's service manager (systemd.timer(5), org.freedesktop.systemd1(5)). All operations throw a
/// ServiceManagerError.
class ServiceManager {
 public:
  virtual ~ServiceManager() = default;

  /// The names of the timers that wait for their time, in no order.
  virtual std::vector<std::string> waitingTimers() = 0;

  /// Starts a unit. Gives whether it is active then. Starting an active unit changes nothing.
  virtual bool start(const std::string& unit) = 0;
  virtual void stop(const std::string& unit) = 0;
  virtual bool isActive(const std::string& unit) = 0;

  /// Whether the machine has a clock that can wake it from suspend.
  virtual bool hasWakeClock() const = 0;
};

}  // namespace zt::platform
