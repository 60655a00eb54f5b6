#pragma once

#include <string>

namespace zt {

/// All that can be read from a file until its end. What goes wrong is thrown as a std::system_error that names the
/// file; so is a file of more than 16 MiB, which is no crontab, and may be a device that never ends.
std::string fileContents(const std::string& path);

/// The same from a descriptor that is open, and stays open. `name` is for the error.
std::string fileContents(int fileDescriptor, const std::string& name);

}  // namespace zt
