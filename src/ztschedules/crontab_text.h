#pragma once

#include <optional>
#include <string>

#include "platform/file_manager.h"

namespace zt {

/// The text of the user's crontab, or of `file`, with "-" for standard input. A user without a crontab gets a message
/// on standard error, and an empty text. Throws a std::exception that tells why the text cannot be read.
std::string crontabText(const std::optional<std::string>& file, const platform::FileManager& fileManager);

}  // namespace zt
