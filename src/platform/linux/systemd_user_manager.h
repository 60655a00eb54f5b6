#pragma once

#include <functional>
#include <map>
#include <optional>

#include "platform/linux/bus_connection.h"
#include "platform/service_manager.h"

namespace zt::platform {

/// The service manager of the user who runs this process. It has 20 seconds in all to answer.
class SystemdUserManager final : public ServiceManager {
 public:
  std::vector<std::string> waitingTimers() override;
  std::string start(const std::string& unit) override;
  std::string stop(const std::string& unit) override;
  bool hasWakeClock() const override;

 private:
  BusConnection& bus();
  template <class... Arguments>
  BusReply call(const char* method, const char* types, Arguments... arguments);
  std::string runJob(const char* method, const std::string& unit);

  std::optional<BusConnection> bus_;            ///< connected when it is first needed
  std::map<std::string, std::string> results_;  ///< of the jobs that have ended, by object path
  std::function<void(sd_bus_message*)> takeResult_;
};

}  // namespace zt::platform
