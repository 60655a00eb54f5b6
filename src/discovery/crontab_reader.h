#pragma once

#include <string_view>
#include <vector>

#include "platform/commands.h"
#include "schedules/crontab_line.h"

namespace zt {

/// The program that prints the user's crontab, and its only argument.
inline constexpr auto crontabProgram = "/usr/bin/crontab";
inline constexpr auto crontabArgument = "-l";

/// What the application marks its lines with.
inline constexpr std::string_view marker = "ZTUtil";

/// Whether a line of a crontab bears the marker, wherever in it.
bool isMarked(std::string_view line);

/// The application's lines of the user's crontab, in crontab order: those that bear its marker and
/// have exactly six fields. All others are left out silently; empty when the crontab is missing, or
/// not valid UTF-8.
std::vector<CrontabLine> readCrontabLines(platform::Commands& commands);

}  // namespace zt
