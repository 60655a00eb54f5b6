#pragma once

#include <string_view>

namespace zt::platform {

/// Aborts the process after one line on standard error: what could not be done, and the text of `error`, a number of
/// errno(3). Control characters are shown as question marks.
[[noreturn]] void fatal(std::string_view context, int error);

}  // namespace zt::platform
