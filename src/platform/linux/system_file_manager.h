#pragma once

#include "platform/file_manager.h"

namespace zt {

/// access(2), with the rights that this process acts with.
class SystemFileManager final : public FileManager {
 public:
  bool isExecutableFile(const std::filesystem::path& path) const override;
};

}  // namespace zt
