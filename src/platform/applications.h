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

  /// The bundle locations of this user's running copies, first started first. A copy without a
  /// bundle location gives nullopt in its place.
  virtual std::vector<std::optional<std::filesystem::path>> running(std::string_view bundleIdentifier) const = 0;

  /// The location of the installed copy, or nullopt.
  virtual std::optional<std::filesystem::path> installed(std::string_view bundleIdentifier) const = 0;
};

}  // namespace zt::platform
