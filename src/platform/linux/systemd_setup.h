#pragma once

#include <chrono>
#include <optional>

#include "platform/linux/bus_connection.h"
#include "platform/service_setup.h"

namespace zt::platform {

/// The setup for systemd, from the properties of its units (org.freedesktop.systemd1(5)).
class SystemdSetup final : public ServiceSetup {
 public:
  /// All that one service manager is asked for together has to take less than `limit`.
  explicit SystemdSetup(std::chrono::milliseconds limit) : limit_(limit) {}

  Unit unit(Manager manager, const std::string& name) override;
  std::vector<std::string> wants(const std::string& unit) override;
  std::optional<Instant> nextElapse(const std::string& timer) override;
  std::string program(const std::string& service) override;
  std::vector<std::string> environment(const std::string& service) override;
  bool isLingering() const override;

 private:
  /// A property of an object of a service manager.
  struct Property {
    Manager manager;
    std::string path;
    const char* interface;
    const char* name;
  };
  BusConnection& bus(Manager manager);
  /// The message with the value, a variant.
  BusReply get(const Property& property);
  /// A value of the D-Bus type `type`, which has to be that of a Value.
  template <class Value>
  Value value(const Property& property, const char* type);
  std::string text(const Property& property);
  std::vector<std::string> texts(const Property& property);

  std::chrono::milliseconds limit_;
  std::optional<BusConnection> user_, system_;  ///< connected when they are first needed
};

}  // namespace zt::platform
