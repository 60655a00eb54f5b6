#pragma once

#include "platform/applications.h"
#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/file_manager.h"
#include "platform/journal.h"
#include "platform/terminal.h"

namespace zt {

/// What ztschedules needs of the machine.
struct ViewerServices {
  const platform::Clock& clock;
  const Calendar& calendar;
  const platform::Applications& applications;
  const platform::FileManager& fileManager;
  const platform::Journal& journal;
  platform::Terminal terminal;
};

/// The program ztschedules, with the arguments of main(): prints what they ask for. Gives the exit status: 0; 1 if
/// --check finds problems, or --next no run; or 2 after a message on standard error if anything fails.
int runViewer(int count, const char* const* arguments, const ViewerServices& services);

}  // namespace zt
