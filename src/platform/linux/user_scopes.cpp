#include "platform/linux/user_scopes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <system_error>
#include <thread>

#include "platform/linux/systemd_user_manager.h"

namespace zt::platform {
namespace {

using namespace std::chrono_literals;

/// Copies that end within this time, such as those with nothing to do, get no scope: systemd reports an error if there
/// is nothing left to move.
constexpr auto leastDuration = 100ms;

/// Whether a process has the session, and is no zombie.
bool runsInSession(pid_t process, pid_t session) {
  siginfo_t ended{};
  const bool isZombie =
      ::waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == process;
  return !isZombie && ::getsid(process) == session;
}

/// Moves the processes of the session out of `unit`, which is this process's own. Gives whether there were any.
bool movePart(SystemdUserManager& manager, const std::string& unit, pid_t session, const std::string& description) {
  const auto scope = "ztbackupbytime-copy-" + std::to_string(session) + ".scope";
  bool foundAny = false;
  for (const auto process : manager.processes(unit)) {
    if (!runsInSession(process, session)) continue;
    try {
      if (!foundAny && !manager.isActive(scope)) {
        manager.startScope(scope, description, process);
      } else {
        manager.attach(scope, process);
      }
    } catch (const ServiceManagerError&) {
      if (runsInSession(process, session)) throw;
      return true;  // it has ended meanwhile, perhaps before there was a scope
    }
    foundAny = true;
  }
  return foundAny;
}

void move(pid_t child, const std::string& unit, const std::string& description) {
  std::this_thread::sleep_for(leastDuration);
  SystemdUserManager manager(1s);
  // While they are moved, they can start others.
  while (movePart(manager, unit, child, description)) {
  }
}

}  // namespace

void moveToScope(pid_t child, const std::string& description) {
  const auto unit = unitOfThisProcess();
  if (!unit.ends_with(".service")) return;
  const auto work = [=] {
    try {
      move(child, unit, description);
    } catch (const ServiceManagerError&) {
      // The copy goes on where it is.
    }
  };
  try {
    std::thread(work).detach();
  } catch (const std::system_error&) {
    // So it does without a thread.
  }
}

}  // namespace zt::platform
