#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/commands.h"
#include "platform/log_sinks.h"
#include "platform/service_manager.h"
#include "ztagent/wake_event.h"

namespace zt {

/// Why a request cannot be carried out.
struct AgentFailure : std::runtime_error {
  explicit AgentFailure(const std::string& message, platform::LogLevel failureLevel = platform::LogLevel::error)
      : runtime_error(message), level(failureLevel) {}

  platform::LogLevel level;  ///< lower if nothing is wrong
};

/// What the agent needs from the machine. Everything has to outlive it.
struct AgentServices {
  const platform::Clock& clock;
  const Calendar& calendar;
  platform::Commands& commands;
  platform::ServiceManager& serviceManager;
};

/// Sets, cancels and lists the wake events of scheduled copies. Times are texts such as "3/5/2027 7:3:00", local, with
/// or without leading zeros. What cannot be done throws an AgentFailure.
class Agent {
 public:
  explicit Agent(const AgentServices& services) : services_(services) {}

  /// Sets an event at the first instant to come at which the wall clock shows `time`.
  void wake(const std::string& time);
  /// Cancels the events at `time`: in a repeated hour there can be two.
  void cancel(const std::string& time);
  /// One line for each event, in their order: "[0] wake at 03/05/2027 07:03:00 by 'ZTAgent'".
  std::vector<std::string> list();
  /// Sets the event for the next schedule in the crontab, if it is not set, and gives its instant; nullopt if no
  /// schedule can fire. For a machine that is about to sleep: a run that stays for the next minute has set none, and
  /// the crontab can have changed since the last run.
  std::optional<Instant> arm();
  /// Sets the event at `instant` if it is still to come and not set.
  void arm(Instant instant);

 private:
  std::vector<WakeEvent> events();
  void set(Instant instant);

  AgentServices services_;
};

}  // namespace zt
