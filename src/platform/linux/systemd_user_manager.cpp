#include "platform/linux/systemd_user_manager.h"

#include <filesystem>
#include <system_error>

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

/// A run of the tool kills the agent after 30 seconds: this is short enough to say why.
constexpr auto limit = 20s;

void check(int result) {
  if (result < 0) throw ServiceManagerError(std::generic_category().message(-result) + ".");
}

}  // namespace

BusConnection& SystemdUserManager::bus() {
  if (bus_) return *bus_;
  BusConnection bus(limit);
  if (const int result = bus.openUserManager(); result < 0) {
    throw ServiceManagerError(
        "The user's service manager cannot be reached: " + std::generic_category().message(-result) + ".");
  }
  bus_ = std::move(bus);
  takeResult_ = [this](sd_bus_message* message) {
    const auto& systemd = bus_->systemd();
    if (systemd.sd_bus_message_is_signal(message, BusConnection::managerInterface, "JobRemoved") <= 0) return;
    const char* job = nullptr;
    const char* result = nullptr;
    if (systemd.sd_bus_message_read(message, "uoss", nullptr, &job, nullptr, &result) > 0) results_[job] = result;
  };
  check(bus_->addFilter(takeResult_));
  return *bus_;
}

template <class... Arguments>
BusReply SystemdUserManager::call(const char* method, const char* types, Arguments... arguments) {
  auto reply = bus().call(BusConnection::ofManager(method), types, arguments...);
  if (reply.result < 0) throw ServiceManagerError(reply.error.ends_with('.') ? reply.error : reply.error + ".");
  return reply;
}

std::vector<std::string> SystemdUserManager::waitingTimers() {
  const auto reply = call("ListUnitsByPatterns", "asas", 1, "waiting", 1, "*.timer");
  const auto& systemd = bus().systemd();
  auto* const message = reply.message.get();
  check(systemd.sd_bus_message_enter_container(message, 'a', "(ssssssouso)"));
  std::vector<std::string> names;
  for (;;) {
    const char* name = nullptr;
    const int result = systemd.sd_bus_message_read(message, "(ssssssouso)", &name, nullptr, nullptr, nullptr, nullptr,
                                                   nullptr, nullptr, nullptr, nullptr, nullptr);
    check(result);
    if (result == 0) return names;
    names.emplace_back(name);
  }
}

std::string SystemdUserManager::start(const std::string& unit) {
  return runJob("StartUnit", unit);
}

std::string SystemdUserManager::stop(const std::string& unit) {
  return runJob("StopUnit", unit);
}

std::string SystemdUserManager::runJob(const char* method, const std::string& unit) {
  const auto reply = call(method, "ss", unit.c_str(), "replace");
  const char* job = nullptr;
  check(bus().systemd().sd_bus_message_read(reply.message.get(), "o", &job));
  check(bus().wait([&] { return results_.contains(job); }));
  return results_[job];
}

bool SystemdUserManager::hasWakeClock() const {
  std::error_code error;
  for (const auto& clock : std::filesystem::directory_iterator("/sys/class/rtc", error)) {
    if (std::filesystem::exists(clock.path() / "wakealarm", error)) return true;
  }
  return false;
}

}  // namespace zt::platform
