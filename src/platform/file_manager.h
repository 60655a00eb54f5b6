#pragma once

#include <filesystem>

namespace zt::platform {

/// Questions about files.
class FileManager {
 public:
  virtual ~FileManager() = default;

  /// Whether `path` is a regular file that this process may execute. False if it is missing or cannot be examined.
  virtual bool isExecutableFile(const std::filesystem::path& path) const = 0;
};

}  // namespace zt::platform
