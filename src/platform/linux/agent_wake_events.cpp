#include "platform/linux/agent_wake_events.h"

#include "platform/task.h"

namespace zt::platform {

std::optional<std::vector<std::string>> AgentWakeEvents::list(const std::filesystem::path& agent) {
  static constexpr const char* powerTool = "/usr/bin/pmset";
  if (fileManager_.isExecutableFile(powerTool)) return commands_.run({powerTool, {"-g", "sched"}});
  if (fileManager_.isExecutableFile(agent)) return commands_.run({agent, {"sched"}});
  return std::nullopt;
}

void AgentWakeEvents::cancel(const std::filesystem::path& agent, const std::string& dateAndTime) {
  // A listing may contain anything.
  if (Task::isArgument(dateAndTime)) commands_.run({agent, {"cancel", dateAndTime}});
}

void AgentWakeEvents::wake(const std::filesystem::path& agent, const std::string& time) {
  commands_.run({agent, {"wake", time}});
}

}  // namespace zt::platform
