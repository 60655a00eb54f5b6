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

  /// Starts or stops a unit, and waits for that. Gives the result of the job: "done", or for example "failed" or
  /// "dependency". Starting an active unit changes nothing.
  virtual std::string start(const std::string& unit) = 0;
  virtual std::string stop(const std::string& unit) = 0;

  /// Whether the machine has a clock that can wake it from suspend.
  virtual bool hasWakeClock() const = 0;
};

}  // namespace zt::platform
