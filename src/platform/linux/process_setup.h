#pragma once

namespace zt::platform {

/// Makes the process independent of how it was started. Call once, before anything is opened.
/// - A closed standard stream becomes /dev/null, so that no pipe gets its number.
/// - SIGCHLD gets its default action: if the parent ignored it, exit statuses would be lost.
/// - SIGPIPE is ignored: a run with copies still to start must not end because nobody reads its output any more.
void setUpProcess();

}  // namespace zt::platform
