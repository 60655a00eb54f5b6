#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zt::platform {

/// The machine's scheduled wake events. The application's agent sets and cancels them; each run looks up its location
/// anew. A program that is executable but cannot be started ends the process, as with Commands.
class WakeEvents {
 public:
  virtual ~WakeEvents() = default;

  /// The scheduled events of all owners, one line each; nullopt if there is no listing. The line of an event has seven
  /// words: index, "wake", "at", date MM/DD/YYYY, time HH:MM:SS (local), "by", owner.
  virtual std::optional<std::vector<std::string>> list(const std::filesystem::path& agent) = 0;

  /// Cancels the agent's event at `dateAndTime`: the fourth and fifth words of its line.
  virtual void cancel(const std::filesystem::path& agent, const std::string& dateAndTime) = 0;

  /// Sets an event at a local time written month/day/year hour:minute:00, without zero padding.
  virtual void wake(const std::filesystem::path& agent, const std::string& time) = 0;
};

}  // namespace zt::platform
