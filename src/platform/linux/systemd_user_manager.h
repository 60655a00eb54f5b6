#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
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
  std::string start(const std::string& unit) override;
  std::string stop(const std::string& unit) override;
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
  std::string resultOf(const BusReply& reply);  ///< of the job that the reply names

  std::chrono::milliseconds limit_;
  std::optional<BusConnection> bus_;            ///< connected when it is first needed
  std::map<std::string, std::string> results_;  ///< of the jobs that have ended, by object path
  std::function<void(sd_bus_message*)> takeResult_;
};

}  // namespace zt::platform
