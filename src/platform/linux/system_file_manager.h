#pragma once

#include "platform/file_manager.h"

namespace zt::platform {

/// access(2) on regular files.
class SystemFileManager final : public FileManager {
 public:
  bool isExecutableFile(const std::filesystem::path& path) const override;
};

}  // namespace zt::platform
