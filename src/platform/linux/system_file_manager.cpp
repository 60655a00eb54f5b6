#include "platform/linux/system_file_manager.h"

#include <unistd.h>

#include <system_error>

namespace zt::platform {

bool SystemFileManager::isExecutableFile(const std::filesystem::path& path) const {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

}  // namespace zt::platform
