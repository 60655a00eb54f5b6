#pragma once

namespace zt::platform {

/// Makes the process independent of how it was started. Call once, before anything is opened.
/// - A standard stream that is closed becomes /dev/null, so that no pipe takes its number.
/// - An LC_ALL that this machine does not have is dropped: bash would complain of it ahead of every word.
/// - SIGCHLD gets its default: a parent can have had exit statuses discarded.
/// - SIGPIPE is ignored: a reader of the output who leaves must not end a run with copies yet to start.
void setUpProcess();

}  // namespace zt::platform
