#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zt::platform {

/// What an application bundle says about itself.
struct Bundle {
  std::string identifier;
  std::filesystem::path executable;  ///< `<bundle>/Contents/MacOS/<CFBundleExecutable>`
};

/// Its property list, by the place in a bundle.
inline constexpr auto infoPlistInBundle = "Contents/Info.plist";

/// Whether a path can be that of a bundle: it ends in ".app".
bool hasBundleName(const std::filesystem::path& path);

/// Reads the property list (XML or binary) of the bundle at `path`. Gives nullopt if the path cannot be that of one, or
/// if the list is missing, unreadable or far too large, or names no identifier or executable.
std::optional<Bundle> readBundle(const std::filesystem::path& path);

/// The same from the contents of an Info.plist, which may not be larger than what the other function would read.
std::optional<Bundle> readBundle(const std::filesystem::path& path, std::string_view infoPlist);

}  // namespace zt::platform
