#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>

#include "platform/linux/bus_connection.h"
#include "platform/service_manager.h"

namespace zt::platform {

/// The service manager of the user who runs this process.
class SystemdUserManager final : public ServiceManager {
 public:
  /// All that it is asked for together has to take less than `limit`.
  explicit SystemdUserManager(std::chrono::milliseconds limit) : limit_(limit) {}

  std::vector<std::string> waitingTimers() override;
  bool start(const std::string& unit) override;
  void stop(const std::string& unit) override;
  /// If the unit is being started or stopped, waits for that.
  bool isActive(const std::string& unit) override;
  bool hasWakeClock() const override;

  // Operations that only this service manager has. They throw a ServiceManagerError as well.

  /// Moves a process into a new scope (systemd.scope(5)), which is forgotten as soon as it is empty. `description` must
  /// be UTF-8.
  void startScope(const std::string& scope, const std::string& description, pid_t process);
  /// Moves a process into such a scope.
  void attach(const std::string& scope, pid_t process);
  /// The processes of a unit.
  std::vector<pid_t> processes(const std::string& unit);

 private:
  BusConnection& bus();
  template <class... Arguments>
  BusReply call(const char* method, const char* types, Arguments... arguments);
  struct Unit {
    std::string name, state;
    bool hasJob;  ///< it is to be started or stopped
  };
  std::vector<Unit> unitsOf(const BusReply& reply);

  std::chrono::milliseconds limit_;
  std::optional<BusConnection> bus_;  ///< connected when it is first needed
};

}  // namespace zt::platform
