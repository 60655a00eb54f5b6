#include "logging/log.h"

#include <utility>

#include "logging/plain_format.h"

namespace zt {

Log::Log(std::string subsystem, std::string category, LogSinks sinks) : plain_(sinks.plain) {
  if (sinks.unified != nullptr) {
    osLog.emplace(OSLog{*sinks.unified, std::move(subsystem), std::move(category)});
  }
}

void Log::default_(std::string_view message) const {
  write(LogLevel::default_, "DEFAULT: ", message);
}
void Log::debug(std::string_view message) const {
  write(LogLevel::debug, "DEBUG: ", message);
}
void Log::info(std::string_view message) const {
  write(LogLevel::info, "INFO: ", message);
}

void Log::error(std::string_view message) const {
  writeWithFormat(LogLevel::error, "ERROR: %@", message);
}
void Log::fault(std::string_view message) const {
  writeWithFormat(LogLevel::fault, "FAULT: %@", message);
}

void Log::write(LogLevel level, std::string_view prefix, std::string_view message) const {
  if (osLog) {
    osLog->sink.write(level, osLog->subsystem, osLog->category, message);
  } else {
    plain_.write(expandPlainFormat(std::string(prefix).append(message)));
  }
}

void Log::writeWithFormat(LogLevel level, std::string_view format, std::string_view message) const {
  if (osLog) {
    osLog->sink.write(level, osLog->subsystem, osLog->category, message);
  } else {
    plain_.write(expandPlainFormat(format, message));
  }
}

}  // namespace zt
