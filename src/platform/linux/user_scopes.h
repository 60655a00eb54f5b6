#pragma once

#include <sys/types.h>

#include <string>

namespace zt::platform {

/// Moves a child of this process, which has a session of its own, and the other processes of that session into a scope
/// of the user's service manager (systemd.scope(5)), under `description`, which must be printable UTF-8. The scope
/// shows them in lists of units. They outlive the service of this process without being reported as left over, and when
/// the service manager stops, they get SIGTERM and time to finish.
///
/// Returns at once; a thread does it after a tenth of a second. They stay where they are if this process is not part of
/// a service of the user, or if the service manager takes more than a second.
void moveToScope(pid_t child, const std::string& description);

}  // namespace zt::platform
