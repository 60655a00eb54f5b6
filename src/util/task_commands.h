#pragma once

#include "platform/commands.h"

namespace zt::util {

/// Runs commands as child processes of this one.
class TaskCommands final : public platform::Commands {
 public:
  std::optional<std::vector<std::string>> run(const platform::Command& command) override;
  void start(const platform::Command& command) override;
};

}  // namespace zt::util
