#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/commands.h"
#include "schedules/crontab_line.h"

namespace zt {

/// The program that prints the user's crontab, and its only argument.
inline constexpr auto crontabProgram = "/usr/bin/crontab";
inline constexpr auto crontabArgument = "-l";

/// The text that marks the lines of the application.
inline constexpr std::string_view marker = "ZTUtil";

/// Whether a line of a crontab contains the marker.
bool isMarked(std::string_view line);

/// The application's lines of the user's crontab, in crontab order: those that contain the marker and have exactly six
/// fields. All others are left out silently. Empty if the crontab is missing or not valid UTF-8; nullopt if crontab was
/// killed, so that its contents are unknown.
std::optional<std::vector<CrontabLine>> readCrontabLines(platform::Commands& commands);

}  // namespace zt
