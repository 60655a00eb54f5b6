#include "platform/linux/systemd_user_manager.h"

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

void check(int result) {
  if (result < 0) throw ServiceManagerError(std::generic_category().message(-result) + ".");
}

}  // namespace

BusConnection& SystemdUserManager::bus() {
  if (bus_) return *bus_;
  BusConnection bus(limit_);
  if (const int result = bus.openUserManager(); result < 0) {
    throw ServiceManagerError(
        "The user's service manager cannot be reached: " + std::generic_category().message(-result) + ".");
  }
  bus_ = std::move(bus);
  return *bus_;
}

template <class... Arguments>
BusReply SystemdUserManager::call(const char* method, const char* types, Arguments... arguments) {
  auto reply = bus().call(BusConnection::ofManager(method), types, arguments...);
  if (reply.result < 0) throw ServiceManagerError(reply.error.ends_with('.') ? reply.error : reply.error + ".");
  return reply;
}

std::vector<SystemdUserManager::Unit> SystemdUserManager::unitsOf(const BusReply& reply) {
  const auto& systemd = bus().systemd();
  auto* const message = reply.message.get();
  check(systemd.sd_bus_message_enter_container(message, 'a', "(ssssssouso)"));
  std::vector<Unit> units;
  for (;;) {
    const char* name = nullptr;
    const char* state = nullptr;
    std::uint32_t job = 0;
    const int result = systemd.sd_bus_message_read(message, "(ssssssouso)", &name, nullptr, nullptr, &state, nullptr,
                                                   nullptr, nullptr, &job, nullptr, nullptr);
    check(result);
    if (result == 0) return units;
    units.push_back({.name = name, .state = state, .hasJob = job != 0});
  }
}

std::vector<std::string> SystemdUserManager::waitingTimers() {
  std::vector<std::string> names;
  for (auto& unit : unitsOf(call("ListUnitsByPatterns", "asas", 1, "waiting", 1, "*.timer")))
    names.push_back(std::move(unit.name));
  return names;
}

bool SystemdUserManager::start(const std::string& unit) {
  call("StartUnit", "ss", unit.c_str(), "replace");
  return isActive(unit);
}

bool SystemdUserManager::isActive(const std::string& unit) {
  // Not the signals about jobs: whoever subscribes to them gets many others, which cost the manager more than this.
  for (;; std::this_thread::sleep_for(2ms)) {
    const auto units = unitsOf(call("ListUnitsByNames", "as", 1, unit.c_str()));
    if (units.empty()) return false;
    if (!units.front().hasJob) return units.front().state == "active";
  }
}

void SystemdUserManager::stop(const std::string& unit) {
  call("StopUnit", "ss", unit.c_str(), "replace");
}

void SystemdUserManager::startScope(const std::string& scope, const std::string& description, pid_t process) {
  // Without delegation, attach() would be refused. No controllers are needed for it.
  call("StartTransientUnit", "ssa(sv)a(sa(sv))", scope.c_str(), "fail", 4,  //
       "PIDs", "au", 1, process,                                            //
       "Description", "s", description.c_str(),                             //
       "CollectMode", "s", "inactive-or-failed",                            //
       "DelegateControllers", "as", 0,                                      //
       0);
  if (!isActive(scope)) throw ServiceManagerError(scope + " is not active.");
}

void SystemdUserManager::attach(const std::string& scope, pid_t process) {
  call("AttachProcessesToUnit", "ssau", scope.c_str(), "", 1, process);
}

std::vector<pid_t> SystemdUserManager::processes(const std::string& unit) {
  const auto reply = call("GetUnitProcesses", "s", unit.c_str());
  const auto& systemd = bus().systemd();
  auto* const message = reply.message.get();
  check(systemd.sd_bus_message_enter_container(message, 'a', "(sus)"));
  std::vector<pid_t> processes;
  for (;;) {
    std::uint32_t process = 0;
    const int result = systemd.sd_bus_message_read(message, "(sus)", nullptr, &process, nullptr);
    check(result);
    if (result == 0) return processes;
    processes.push_back(static_cast<pid_t>(process));
  }
}

bool SystemdUserManager::hasWakeClock() const {
  std::error_code error;
  for (const auto& clock : std::filesystem::directory_iterator("/sys/class/rtc", error)) {
    if (std::filesystem::exists(clock.path() / "wakealarm", error)) return true;
  }
  return false;
}

}  // namespace zt::platform
