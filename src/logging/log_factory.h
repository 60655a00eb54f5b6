#pragma once

#include <string>

#include "logging/log.h"

namespace zt {

/// Makes logs for the areas of the application: the subsystem is com.velmorra.Zantrove.AREA, the category is the
/// caller's. Every call makes a new log. The sinks have to outlive it.
class LogFactory {
 public:
  static Log setting(std::string category, platform::LogSinks sinks);
  static Log utility(std::string category, platform::LogSinks sinks);
  static Log volume(std::string category, platform::LogSinks sinks);
  static Log delegate(std::string category, platform::LogSinks sinks);
  static Log view(std::string category, platform::LogSinks sinks);
  static Log vc(std::string category, platform::LogSinks sinks);
  static Log helper(std::string category, platform::LogSinks sinks);
  static Log extension(std::string category, platform::LogSinks sinks);
};

}  // namespace zt
