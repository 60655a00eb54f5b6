#include "platform/linux/systemd_user_manager.h"

#include <filesystem>
#include <system_error>

namespace zt::platform {
namespace {

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
  return resultOf(call("StartUnit", "ss", unit.c_str(), "replace"));
}

std::string SystemdUserManager::stop(const std::string& unit) {
  return resultOf(call("StopUnit", "ss", unit.c_str(), "replace"));
}

std::string SystemdUserManager::resultOf(const BusReply& reply) {
  const char* job = nullptr;
  check(bus().systemd().sd_bus_message_read(reply.message.get(), "o", &job));
  check(bus().wait([&] { return results_.contains(job); }));
  return results_[job];
}

void SystemdUserManager::startScope(const std::string& scope, const std::string& description, pid_t process) {
  // Without delegation, attach() would be refused. No controllers are needed for it.
  const auto result = resultOf(call("StartTransientUnit", "ssa(sv)a(sa(sv))", scope.c_str(), "fail", 4,  //
                                    "PIDs", "au", 1, process,                                            //
                                    "Description", "s", description.c_str(),                             //
                                    "CollectMode", "s", "inactive-or-failed",                            //
                                    "DelegateControllers", "as", 0,                                      //
                                    0));
  if (result != "done") throw ServiceManagerError("The result is '" + result + "'.");
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
