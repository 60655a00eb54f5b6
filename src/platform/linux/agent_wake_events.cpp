#include "platform/linux/agent_wake_events.h"

namespace zt {

std::optional<std::vector<std::string>> AgentWakeEvents::list(const std::filesystem::path& agent) {
  static constexpr const char* powerTool = "/usr/bin/pmset";
  if (fileManager_.isExecutableFile(powerTool)) return commands_.shell(powerTool, {"-g", "sched"});
  if (fileManager_.isExecutableFile(agent)) return commands_.shell(agent, {"sched"});
  return std::nullopt;
}

void AgentWakeEvents::cancel(const std::filesystem::path& agent, const std::string& dateAndTime) {
  // A listing may have anything in it.
  if (Commands::isArgument(dateAndTime)) commands_.shell(agent, {"cancel", dateAndTime});
}

void AgentWakeEvents::wake(const std::filesystem::path& agent, const std::string& time) {
  commands_.shell(agent, {"wake", time});
}

}  // namespace zt
