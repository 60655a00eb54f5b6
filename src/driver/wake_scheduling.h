#pragma once

#include <filesystem>
#include <utility>

#include "logging/log.h"
#include "platform/calendar.h"
#include "platform/file_manager.h"
#include "platform/wake_events.h"

namespace zt {

/// Replaces the wake events that this tool has set, through the application's agent. Without an executable agent
/// nothing is cancelled or set. The exit status of the agent is ignored.
class WakeScheduling {
 public:
  WakeScheduling(platform::WakeEvents& wakeEvents, const platform::FileManager& fileManager,
                 std::filesystem::path agent, const Log& log)
      : wakeEvents_(wakeEvents), fileManager_(fileManager), agent_(std::move(agent)), log_(log) {}

  /// Cancels every listed event that contains the name of the tool or of the agent. Events of other programs, and lines
  /// that do not have seven words, are left alone.
  void cancelExisting();

  /// Sets the event for `date`.
  void set(Instant date, const Calendar& calendar);

 private:
  bool agentIsExecutable() const { return fileManager_.isExecutableFile(agent_); }

  platform::WakeEvents& wakeEvents_;
  const platform::FileManager& fileManager_;
  std::filesystem::path agent_;
  const Log& log_;
};

}  // namespace zt
