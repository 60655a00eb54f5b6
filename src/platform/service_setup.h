#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/instant.h"
#include "platform/service_manager.h"

namespace zt::platform {

/// How the units of the tool are set up, and what else of the machine decides whether a run can do its work. All
/// operations only read. Those that ask a service manager throw a ServiceManagerError if it does not answer.
class ServiceSetup {
 public:
  /// Whose service manager is asked.
  enum class Manager : std::uint8_t { user, system };

  /// The states of a unit, in the words of systemctl(1).
  struct Unit {
    std::string load{};          ///< "loaded", or why it is not: "not-found", "masked"
    std::string active{};        ///< "active", "inactive", "activating", "failed" and others
    std::string file{};          ///< "enabled", "disabled", "static" and others; empty without a file
    bool isOutdated = false;     ///< its files have changed since the manager has read them
    std::chrono::seconds age{};  ///< since it was last inactive; time in which the machine is suspended does not count
  };

  virtual ~ServiceSetup() = default;

  virtual Unit unit(Manager manager, const std::string& name) = 0;
  /// The units that are started with a unit of the system (Wants= in systemd.unit(5)).
  virtual std::vector<std::string> wants(const std::string& unit) = 0;

  // Of the user's service manager:

  /// When a timer elapses next; nullopt if it does not, as while its service runs.
  virtual std::optional<Instant> nextElapse(const std::string& timer) = 0;
  /// The path of the program that a service runs; empty if there is none.
  virtual std::string program(const std::string& service) = 0;
  /// The variables of the manager, and then those that a service sets for itself, as texts NAME=value.
  virtual std::vector<std::string> environment(const std::string& service) = 0;

  /// Whether the service manager of this user also runs while the user is not logged in. Asks nobody.
  virtual bool isLingering() const = 0;
};

}  // namespace zt::platform
