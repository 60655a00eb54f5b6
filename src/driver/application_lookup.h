#pragma once

#include <filesystem>
#include <optional>

#include "logging/log.h"
#include "platform/applications.h"

namespace zt {

/// The application and the programs inside it that a run uses.
struct Application {
  std::filesystem::path location;
  std::filesystem::path controller;  ///< not checked before it is started
  std::filesystem::path agent;       ///< checked before each use
};

/// Finds the application: the running copy that was started first, otherwise the installed one. nullopt if there is
/// none; the log has an error then, and before it why bundles were refused.
std::optional<Application> findApplication(const platform::Applications& applications, const Log& log);

}  // namespace zt
