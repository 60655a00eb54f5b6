#include "platform/linux/user_scopes.h"

#include <unistd.h>

#include <chrono>

#include "platform/linux/background_thread.h"
#include "platform/linux/systemd_user_manager.h"

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

/// Moves the processes of the child's session that are still in `unit`. Gives whether there were any.
bool moveOthers(SystemdUserManager& manager, const std::string& unit, pid_t child, const std::string& scope) {
  bool foundAny = false;
  for (const auto process : manager.processes(unit)) {
    const auto isOfSession = [&] { return ::getsid(process) == child; };
    if (!isOfSession()) continue;
    foundAny = true;
    try {
      manager.attach(scope, process);
    } catch (const ServiceManagerError&) {
      if (isOfSession()) throw;  // otherwise it has ended
    }
  }
  return foundAny;
}

void move(pid_t child, const std::string& description) {
  const auto unit = unitOfThisProcess();
  if (!unit.ends_with(".service")) return;
  SystemdUserManager manager(1s);
  const auto scope = "ztbackupbytime-copy-" + std::to_string(child) + ".scope";
  manager.startScope(scope, description, child);
  // It may have started others meanwhile, and these again others.
  while (moveOthers(manager, unit, child, scope)) {
  }
}

}  // namespace

void moveToScope(pid_t child, const std::string& description) {
  startBackgroundThread([=](const std::stop_token&) {
    try {
      move(child, description);
    } catch (const ServiceManagerError&) {
      // The copy goes on where it is.
    }
  }).detach();
}

}  // namespace zt::platform
