#include "logging/log.h"

#include <utility>

#include "logging/plain_format.h"

namespace zt {

Log::Log(std::string subsystem, std::string category, platform::LogSinks sinks) : plain_(sinks.plain) {
  if (sinks.unified != nullptr) {
    osLog.emplace(OSLog{*sinks.unified, std::move(subsystem), std::move(category)});
  }
}

void Log::default_(std::string_view message) const {
  write(platform::LogLevel::default_, message, expandPlainFormat(std::string("DEFAULT: ").append(message)));
}
void Log::debug(std::string_view message) const {
  write(platform::LogLevel::debug, message, expandPlainFormat(std::string("DEBUG: ").append(message)));
}
void Log::info(std::string_view message) const {
  write(platform::LogLevel::info, message, expandPlainFormat(std::string("INFO: ").append(message)));
}

void Log::error(std::string_view message) const {
  write(platform::LogLevel::error, message, expandPlainFormat("ERROR: %@", message));
}
void Log::fault(std::string_view message) const {
  write(platform::LogLevel::fault, message, expandPlainFormat("FAULT: %@", message));
}

void Log::write(platform::LogLevel level, std::string_view message, std::string_view plainEntry) const {
  if (osLog) {
    osLog->sink.write(level, osLog->subsystem, osLog->category, message);
  } else {
    plain_.write(plainEntry);
  }
}

}  // namespace zt
