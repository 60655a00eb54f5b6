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
#include "platform/linux/user_scopes.h"
#include "util/task_commands.h"

int main() {
  using namespace zt::platform;
  setUpProcess();

  SystemClock clock;
  SystemCalendar calendar;
  const SystemApplications applications(SystemApplications::defaultFolders());
  const SystemFileManager fileManager;
  LogindPowerAssertions powerAssertions;
  StandardErrorLog plainLog;
  // A person at a terminal sees the run; a service manager gets entries with fields.
  auto journal = ::isatty(STDERR_FILENO) == 0 ? JournalLog::find() : std::nullopt;
  const LogSinks logSinks{.unified = journal ? &*journal : nullptr, .plain = plainLog};
  zt::util::TaskCommands commands(
      zt::commandLimits, [&](const std::string& line) { zt::toolLog(logSinks).default_(line); }, moveToScope);
  AgentWakeEvents wakeEvents(commands, fileManager);

  return zt::run({.clock = clock,
                  .calendar = calendar,
                  .applications = applications,
                  .fileManager = fileManager,
                  .commands = commands,
                  .powerAssertions = powerAssertions,
                  .wakeEvents = wakeEvents,
                  .logSinks = logSinks,
                  .output = std::cout});
}
