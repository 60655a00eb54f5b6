#include <unistd.h>

#include <iostream>
#include <optional>
#include <string>
#include <string_view>

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

namespace {

constexpr auto* help = R"(usage: ztbackupbytime

Starts the disk copies that the user's crontab schedules for this minute, and has the machine wake for the next one.
A timer of the user's systemd runs it about once a minute:

  systemctl --user enable --now ztbackupbytime.timer
  ztschedules                                          shows what will be copied, and when

It takes no arguments, except for these, which start nothing:

  --help     print this text
  --version  print the version
)";

/// Gives the exit status of a call with arguments.
int answer(std::string_view argument, bool isOnlyOne) {
  if (isOnlyOne && argument == "--help") {
    std::cout << help;
  } else if (isOnlyOne && argument == "--version") {
    std::cout << "ztbackupbytime " VERSION "\n";
  } else {
    std::cerr << "ztbackupbytime: takes no arguments but --help or --version. Nothing was started.\n";
    return 2;
  }
  if (std::cout.flush()) return 0;
  std::cerr << "ztbackupbytime: cannot write the output\n";
  return 2;
}

}  // namespace

int main(int count, char** arguments) {
  using namespace zt::platform;
  setUpProcess();
  if (count > 1) return answer(arguments[1], count == 2);

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
