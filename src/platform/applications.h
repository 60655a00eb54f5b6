#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zt::platform {

// The application, and its programs by their places in its bundle.
inline constexpr auto applicationIdentifier = "com.velmorra.Zantrove";
inline constexpr auto utilityInBundle = "Contents/Helpers/ZTUtil";
inline constexpr auto controllerInBundle = "Contents/Helpers/ztautomatedcopycontroller";
inline constexpr auto agentInBundle = "Contents/MacOS/ZTAgent";

/// Finds application bundles by their identifier. A bundle counts only where nobody but this user and root can have put
/// it, so that nobody else decides what is started in this user's name.
class Applications {
 public:
  /// Receives why a bundle does not count, as a line for the log. What identifier it has may not be known.
  using Refused = std::function<void(const std::string& reason)>;

  virtual ~Applications() = default;

  /// The bundle locations of this user's running copies in the order of their start; nullopt for a copy without one.
  virtual std::vector<std::optional<std::filesystem::path>> running(std::string_view bundleIdentifier,
                                                                    const Refused& refused) const = 0;

  /// The location of the installed copy, or nullopt if there is none.
  virtual std::optional<std::filesystem::path> installed(std::string_view bundleIdentifier,
                                                         const Refused& refused) const = 0;

  /// The copy to use: the running one that was started first, otherwise the installed one; nullopt if there is none.
  std::optional<std::filesystem::path> find(std::string_view bundleIdentifier, const Refused& refused) const {
    const auto copies = running(bundleIdentifier, refused);
    return !copies.empty() && copies.front() ? copies.front() : installed(bundleIdentifier, refused);
  }
};

}  // namespace zt::platform
