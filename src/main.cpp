#include <unistd.h>

#include <iostream>
#include <optional>

#include "driver/run.h"
#include "platform/linux/agent_wake_events.h"
#include "platform/linux/journal_log.h"
#include "platform/linux/logind_power_assertions.h"
#include "platform/linux/process_setup.h"
#include "platform/linux/standard_error_log.h"
#include "platform/linux/system_applications.h"
#include "platform/linux/system_calendar.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_file_manager.h"
#include "platform/linux/task_commands.h"

int main() {
  zt::setUpProcess();

  zt::SystemClock clock;
  zt::SystemCalendar calendar;
  const zt::SystemApplications applications(zt::SystemApplications::defaultFolders());
  const zt::SystemFileManager fileManager;
  zt::TaskCommands commands;
  zt::LogindPowerAssertions powerAssertions;
  zt::AgentWakeEvents wakeEvents(commands, fileManager);
  zt::StandardErrorLog plainLog;
  // A person at a terminal sees the run; a service manager gets entries with fields.
  auto journal = ::isatty(STDERR_FILENO) == 0 ? zt::JournalLog::find() : std::nullopt;

  return zt::run({.clock = clock,
                  .calendar = calendar,
                  .applications = applications,
                  .fileManager = fileManager,
                  .commands = commands,
                  .powerAssertions = powerAssertions,
                  .wakeEvents = wakeEvents,
                  .logSinks = {.unified = journal ? &*journal : nullptr, .plain = plainLog},
                  .output = std::cout});
}
