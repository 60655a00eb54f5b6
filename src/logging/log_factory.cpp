#include "logging/log_factory.h"

#include <utility>

namespace zt {
namespace {

Log make(const char* area, std::string category, platform::LogSinks sinks) {
  return {std::string("com.velmorra.Zantrove.") + area, std::move(category), sinks};
}

}  // namespace

Log LogFactory::setting(std::string category, platform::LogSinks sinks) {
  return make("Settings", std::move(category), sinks);
}
Log LogFactory::utility(std::string category, platform::LogSinks sinks) {
  return make("Utilities", std::move(category), sinks);
}
Log LogFactory::volume(std::string category, platform::LogSinks sinks) {
  return make("Volumes", std::move(category), sinks);
}
Log LogFactory::delegate(std::string category, platform::LogSinks sinks) {
  return make("Delegates", std::move(category), sinks);
}
Log LogFactory::view(std::string category, platform::LogSinks sinks) {
  return make("Views", std::move(category), sinks);
}
Log LogFactory::vc(std::string category, platform::LogSinks sinks) {
  return make("ViewControllers", std::move(category), sinks);
}
Log LogFactory::helper(std::string category, platform::LogSinks sinks) {
  return make("Helpers", std::move(category), sinks);
}
Log LogFactory::extension(std::string category, platform::LogSinks sinks) {
  return make("Extensions", std::move(category), sinks);
}

}  // namespace zt
