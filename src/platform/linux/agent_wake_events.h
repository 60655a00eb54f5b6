#pragma once

#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/wake_events.h"

namespace zt::platform {

/// Wake events through the application's agent and its verbs `sched`, `cancel` and `wake`. The listing comes from
/// /usr/bin/pmset if the machine has it, otherwise from the agent. If neither can be executed, there is none.
class AgentWakeEvents final : public WakeEvents {
 public:
  AgentWakeEvents(Commands& commands, const FileManager& fileManager)
      : commands_(commands), fileManager_(fileManager) {}

  std::optional<std::vector<std::string>> list(const std::filesystem::path& agent) override;
  void cancel(const std::filesystem::path& agent, const std::string& dateAndTime) override;
  void wake(const std::filesystem::path& agent, const std::string& time) override;

 private:
  Commands& commands_;
  const FileManager& fileManager_;
};

}  // namespace zt::platform
