#include "platform/linux/systemd_setup.h"

#include <pwd.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace zt::platform {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

constexpr auto* unitInterface = "org.freedesktop.systemd1.Unit";
constexpr auto* timerInterface = "org.freedesktop.systemd1.Timer";
constexpr auto* serviceInterface = "org.freedesktop.systemd1.Service";

/// The object of a unit. Asking for its properties loads the unit.
std::string pathOf(const std::string& unit) {
  std::string path = "/org/freedesktop/systemd1/unit/";
  for (const char c : unit) {
    const bool isPlain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    std::array<char, 4> escaped;
    std::snprintf(escaped.data(), escaped.size(), "_%02x", static_cast<unsigned char>(c));
    path += isPlain ? std::string(1, c) : escaped.data();
  }
  return path;
}

void require(int result) {
  if (result < 0) throw ServiceManagerError(std::generic_category().message(-result) + ".");
}

microseconds readClock(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return seconds(time.tv_sec) + std::chrono::duration_cast<microseconds>(std::chrono::nanoseconds(time.tv_nsec));
}

}  // namespace

BusConnection& SystemdSetup::bus(Manager manager) {
  const bool isUsers = manager == Manager::user;
  auto& bus = isUsers ? user_ : system_;
  if (bus) return *bus;
  BusConnection opened(limit_);
  if (const int result = isUsers ? opened.openUserManager() : opened.openSystemBus(); result < 0) {
    throw ServiceManagerError(std::string("The ") + (isUsers ? "user's" : "system's") +
                              " service manager cannot be reached: " + std::generic_category().message(-result) + ".");
  }
  return bus.emplace(std::move(opened));
}

BusReply SystemdSetup::get(const Property& property) {
  auto reply = bus(property.manager)
                   .call({"org.freedesktop.systemd1", property.path.c_str(), "org.freedesktop.DBus.Properties", "Get"},
                         "ss", property.interface, property.name);
  if (reply.result < 0) {
    throw ServiceManagerError(std::string("The ") + (property.manager == Manager::user ? "user's" : "system's") +
                              " service manager gives no answer: " + reply.error +
                              (reply.error.ends_with('.') ? "" : "."));
  }
  return reply;
}

template <class Value>
Value SystemdSetup::value(const Property& property, const char* type) {
  const auto reply = get(property);
  Value value{};
  require(bus(property.manager).systemd().sd_bus_message_read(reply.message.get(), "v", type, &value));
  return value;
}

std::string SystemdSetup::text(const Property& property) {
  const auto reply = get(property);
  const char* text = nullptr;
  require(bus(property.manager).systemd().sd_bus_message_read(reply.message.get(), "v", "s", &text));
  return text;
}

std::vector<std::string> SystemdSetup::texts(const Property& property) {
  const auto reply = get(property);
  const auto& systemd = bus(property.manager).systemd();
  auto* const message = reply.message.get();
  require(systemd.sd_bus_message_enter_container(message, 'v', "as"));
  require(systemd.sd_bus_message_enter_container(message, 'a', "s"));
  std::vector<std::string> texts;
  for (;;) {
    const char* text = nullptr;
    const int result = systemd.sd_bus_message_read(message, "s", &text);
    require(result);
    if (result == 0) return texts;
    texts.emplace_back(text);
  }
}

ServiceSetup::Unit SystemdSetup::unit(Manager manager, const std::string& name) {
  const auto of = [&](const char* property) { return Property{manager, pathOf(name), unitInterface, property}; };
  Unit unit{.load = text(of("LoadState")),
            .active = text(of("ActiveState")),
            .file = text(of("UnitFileState")),
            .isOutdated = value<int>(of("NeedDaemonReload"), "b") != 0};
  // On this clock, neither setting the time nor suspending the machine counts.
  const microseconds since(value<std::uint64_t>(of("InactiveExitTimestampMonotonic"), "t"));
  unit.age = std::chrono::floor<seconds>(readClock(CLOCK_MONOTONIC) - since);
  return unit;
}

std::vector<std::string> SystemdSetup::wants(const std::string& unit) {
  return texts({Manager::system, pathOf(unit), unitInterface, "Wants"});
}

std::optional<Instant> SystemdSetup::nextElapse(const std::string& timer) {
  // The timer counts seconds after a run; it has no time of the wall clock.
  const auto next =
      value<std::uint64_t>({Manager::user, pathOf(timer), timerInterface, "NextElapseUSecMonotonic"}, "t");
  if (next == 0 || next == UINT64_MAX) return std::nullopt;
  const auto left = microseconds(next) - readClock(CLOCK_MONOTONIC);
  return Instant(std::chrono::floor<seconds>(readClock(CLOCK_REALTIME) + left));
}

std::string SystemdSetup::program(const std::string& service) {
  const auto reply = get({Manager::user, pathOf(service), serviceInterface, "ExecStart"});
  const auto& systemd = bus(Manager::user).systemd();
  auto* const message = reply.message.get();
  constexpr auto* command = "sasbttttuii";
  require(systemd.sd_bus_message_enter_container(message, 'v', "a(sasbttttuii)"));
  require(systemd.sd_bus_message_enter_container(message, 'a', "(sasbttttuii)"));
  const int result = systemd.sd_bus_message_enter_container(message, 'r', command);
  require(result);
  const char* path = "";
  if (result > 0) require(systemd.sd_bus_message_read(message, "s", &path));
  return path;
}

std::vector<std::string> SystemdSetup::environment(const std::string& service) {
  auto variables = texts({Manager::user, "/org/freedesktop/systemd1", BusConnection::managerInterface, "Environment"});
  for (auto& variable : texts({Manager::user, pathOf(service), serviceInterface, "Environment"}))
    variables.push_back(std::move(variable));
  return variables;
}

bool SystemdSetup::isLingering() const {
  const auto* account = ::getpwuid(::getuid());
  if (account == nullptr) return false;
  std::string file = "/var/lib/systemd/linger/";
  for (const char c : std::string_view(account->pw_name)) file += c == '\\' ? "\\x5c" : std::string(1, c);
  return ::access(file.c_str(), F_OK) == 0;
}

}  // namespace zt::platform
