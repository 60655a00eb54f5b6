#pragma once

#include <sys/types.h>

#include <string>

namespace zt::platform {

/// Moves a child of this process into a scope of its own in the user's service manager (systemd.scope(5)), under
/// `description`, which must be printable UTF-8. The scope shows the child in lists of units. It outlives the service
/// of this process without being reported as left over, and when the service manager stops, the child gets SIGTERM and
/// time to finish.
///
/// Returns at once. The child stays where it is if this process is not part of a service of the user, and if the
/// service manager does not answer within a second.
void moveToScope(pid_t child, const std::string& description);

}  // namespace zt::platform
