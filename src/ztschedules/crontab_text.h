#pragma once

#include <optional>
#include <string>

#include "platform/file_manager.h"

namespace zt {

/// The text of the user's crontab, or of `file`, with "-" for standard input. What crontab prints on standard error is
/// passed on. A user without a crontab has an empty text, besides that message. Throws a std::exception that tells why
/// the text cannot be read.
std::string crontabText(const std::optional<std::string>& file, const platform::FileManager& fileManager);

}  // namespace zt
