#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>

#include "driver/application_lookup.h"
#include "driver/wake_scheduling.h"
#include "logging/log.h"
#include "platform/applications.h"
#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/log_sinks.h"
#include "platform/power_assertions.h"
#include "platform/wake_events.h"
#include "util/process_runner.h"
#include "util/url.h"

namespace zt {

/// What a run needs from the machine. Everything has to outlive the run.
struct Services {
  platform::Clock& clock;
  Calendar& calendar;
  const platform::Applications& applications;
  const platform::FileManager& fileManager;
  platform::Commands& commands;
  platform::PowerAssertions& powerAssertions;
  platform::WakeEvents& wakeEvents;
  platform::LogSinks logSinks;
  std::ostream& output;  ///< for messages about due lines without a URL
};

/// The log of the tool.
Log toolLog(const platform::LogSinks& sinks);

/// For each program that the run waits for: crontab, bash, pmset, and the agent. They take milliseconds. One that never
/// ends would keep this run, and so every later copy, waiting for good.
inline constexpr util::Limits commandLimits = {.awakeTime = std::chrono::seconds{30},
                                               .bytes = std::size_t{16} * 1024 * 1024};

/// One run of the tool, from start to exit. Gives the exit status: 0, or 1 if the application cannot be found.
int run(const Services& services);

}  // namespace zt
