#pragma once

#include <string>

namespace zt::platform {

/// The bytes of a file up to its end. Throws a std::system_error that names the file if it cannot be read or is larger
/// than 4 MiB (EFBIG): that is no crontab, and may be a device that never ends.
std::string fileContents(const std::string& path);

/// The same from an open descriptor, which stays open. `name` is for the error.
std::string fileContents(int fileDescriptor, const std::string& name);

}  // namespace zt::platform
