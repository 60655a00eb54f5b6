#include <signal.h>

#include "platform/linux/process_setup.h"
#include "platform/linux/system_calendar.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/system_file_manager.h"
#include "ztschedules/viewer.h"

int main(int count, char** arguments) {
  using namespace zt::platform;
  setUpProcess();
  ::signal(SIGPIPE, SIG_DFL);  // whoever reads the output may have seen enough

  const SystemClock clock;
  const SystemCalendar calendar;
  const SystemFileManager fileManager;
  return zt::runViewer(
      count, arguments,
      {.clock = clock, .calendar = calendar, .fileManager = fileManager, .terminal = Terminal::ofStandardOutput()});
}
