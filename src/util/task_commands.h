#pragma once

#include "platform/commands.h"

namespace zt::util {

/// Runs commands as child processes of this one.
class TaskCommands final : public platform::Commands {
 public:
  std::optional<std::vector<std::string>> run(const std::string& path,
                                              const std::vector<std::string>& arguments) override;
  void start(const std::string& path, const std::vector<std::string>& arguments) override;
};

}  // namespace zt::util
