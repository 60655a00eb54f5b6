#pragma once

#include <vector>

#include "platform/commands.h"
#include "schedules/crontab_line.h"

namespace zt {

/// The application's lines of the user's crontab, in crontab order: those that bear its marker and
/// have exactly six fields. All others are left out silently; empty when the crontab is missing, or
/// not valid UTF-8.
std::vector<CrontabLine> readCrontabLines(Commands& commands);

}  // namespace zt
