#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "platform/linux/logind_power_assertions.h"
#include "platform/linux/process_setup.h"
#include "platform/linux/system_applications.h"
#include "platform/linux/system_calendar.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_file_manager.h"
#include "platform/linux/systemd_journal.h"
#include "platform/linux/systemd_setup.h"
#include "platform/linux/systemd_user_manager.h"
#include "util/task_commands.h"
#include "ztschedules/viewer.h"

int main(int count, char** arguments) {
  using namespace std::chrono_literals;
  using namespace zt::platform;
  // A closed stream would become a /dev/null that works.
  if (::fcntl(STDIN_FILENO, F_GETFD) < 0) ::open("/dev/null", O_WRONLY);
  if (::fcntl(STDOUT_FILENO, F_GETFD) < 0) ::open("/dev/null", O_RDONLY);
  setUpProcess();
  ::signal(SIGPIPE, SIG_DFL);  // whoever reads the output may have seen enough

  const SystemClock clock;
  const SystemCalendar calendar;
  const SystemApplications applications(SystemApplications::defaultFolders());
  const SystemFileManager fileManager;
  const SystemdJournal journal;
  zt::util::TaskCommands commands({.awakeTime = 10s, .bytes = std::size_t{16} * 1024 * 1024},
                                  [](const std::string& /*line*/) {});
  SystemdUserManager serviceManager(5s);
  SystemdSetup setup(5s);
  LogindPowerAssertions powerAssertions;
  return zt::runViewer(count, arguments,
                       {.clock = clock,
                        .calendar = calendar,
                        .applications = applications,
                        .fileManager = fileManager,
                        .journal = journal,
                        .terminal = Terminal::ofStandardOutput(),
                        .commands = commands,
                        .serviceManager = serviceManager,
                        .setup = setup,
                        .powerAssertions = powerAssertions});
}
