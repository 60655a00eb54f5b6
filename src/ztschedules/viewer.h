#pragma once

#include "platform/applications.h"
#include "platform/calendar.h"
#include "platform/clock.h"
#include "platform/commands.h"
#include "platform/file_manager.h"
#include "platform/journal.h"
#include "platform/power_assertions.h"
#include "platform/service_manager.h"
#include "platform/service_setup.h"
#include "platform/terminal.h"

namespace zt {

/// What ztschedules needs of the machine.
struct ViewerServices {
  const platform::Clock& clock;
  const Calendar& calendar;
  const platform::Applications& applications;
  const platform::FileManager& fileManager;
  const Journal& journal;
  platform::Terminal terminal;
  // For --doctor alone. The commands need limits that are far below a minute.
  platform::Commands& commands;
  platform::ServiceManager& serviceManager;
  platform::ServiceSetup& setup;
  platform::PowerAssertions& powerAssertions;
};

/// The program ztschedules, with the arguments of main(): prints what they ask for. Gives the exit status: 0; 1 if
/// --check or --doctor finds problems, or --next no run; or 2 after a message on standard error if anything fails.
int runViewer(int count, const char* const* arguments, const ViewerServices& services);

}  // namespace zt
