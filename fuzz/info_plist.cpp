#include "platform/linux/bundle.h"
#include "property.h"

namespace zt {

using namespace platform;

/// Input: a property list.
void check(std::string_view input) {
  const auto bundle = readBundle("/opt/Z.app", input);
  if (!bundle) return;
  require(!bundle->identifier.empty(), "a bundle has an identifier");
  const std::string folder = "/opt/Z.app/Contents/MacOS/";
  const auto executable = bundle->executable.string();
  require(executable.starts_with(folder) && executable.size() > folder.size(),
          "a bundle's executable is in its folder");
}

}  // namespace zt
