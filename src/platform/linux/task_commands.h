#pragma once

#include "platform/commands.h"

namespace zt {

/// Commands as child processes.
class TaskCommands final : public Commands {
 public:
  std::optional<std::vector<std::string>> shell(const std::string& path,
                                                const std::vector<std::string>& arguments) override;
  void spawn(const std::string& path, const std::vector<std::string>& arguments) override;
};

}  // namespace zt
