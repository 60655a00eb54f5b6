#pragma once

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace zt::platform {

/// Finds application bundles by their identifier.
class Applications {
 public:
  virtual ~Applications() = default;

  /// The bundle locations of this user's running copies in the order of their start; nullopt for a copy without one.
  virtual std::vector<std::optional<std::filesystem::path>> running(std::string_view bundleIdentifier) const = 0;

  /// The location of the installed copy, or nullopt if there is none.
  virtual std::optional<std::filesystem::path> installed(std::string_view bundleIdentifier) const = 0;
};

}  // namespace zt::platform
