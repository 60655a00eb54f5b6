#pragma once

namespace zt {

/// Makes the process independent of how it was started. Call once, before anything is opened.
/// Opens /dev/null for a standard stream that is closed, so that no pipe takes its number; drops
/// an LC_ALL that this machine does not have, about which bash would complain ahead of every word; restores
/// SIGCHLD, which a parent can have told to discard exit statuses; ignores SIGPIPE, so that
/// nobody's closing the output ends a run with copies yet to start.
void setUpProcess();

}  // namespace zt
