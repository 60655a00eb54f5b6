#include "driver/application_lookup.h"

#include <set>
#include <string>

namespace zt {

std::optional<Application> findApplication(const platform::Applications& applications, const Log& log) {
  log.info("Looking for Zantrove!");

  std::set<std::string> reasons;
  const auto refused = [&](const std::string& reason) { reasons.insert(reason); };
  const auto location = applications.find(platform::applicationIdentifier, refused);
  if (!location) {
    for (const auto& reason : reasons) log.default_(reason);
    log.error("Couldn't find Zantrove! application");
    return std::nullopt;
  }
  log.info("Using Zantrove! from " + location->string());

  const Application application{.location = *location,
                                .controller = *location / platform::controllerInBundle,
                                .agent = *location / platform::agentInBundle};
  log.info("Automated Copy Controller path is " + application.controller.string());
  return application;
}

}  // namespace zt
