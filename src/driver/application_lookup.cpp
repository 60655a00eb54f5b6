#include "driver/application_lookup.h"

namespace zt {

std::optional<Application> findApplication(const platform::Applications& applications, const Log& log) {
  static constexpr std::string_view bundleIdentifier = "com.velmorra.Zantrove";
  log.info("Looking for Zantrove!");

  std::optional<std::filesystem::path> location;
  if (const auto running = applications.running(bundleIdentifier); !running.empty()) {
    location = running.front();
  }
  if (!location) location = applications.installed(bundleIdentifier);
  if (!location) {
    log.error("Couldn't find Zantrove! application");
    return std::nullopt;
  }
  log.info("Using Zantrove! from " + location->string());

  const Application application{.location = *location,
                                .controller = *location / "Contents/Helpers" / "ztautomatedcopycontroller",
                                .agent = *location / "Contents/MacOS/ZTAgent"};
  log.info("Automated Copy Controller path is " + application.controller.string());
  return application;
}

}  // namespace zt
