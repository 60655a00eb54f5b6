#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zt::platform {

/// What an application bundle says of itself.
struct Bundle {
  std::string identifier;
  std::filesystem::path executable;  ///< `<bundle>/Contents/MacOS/<CFBundleExecutable>`
};

/// Reads Contents/Info.plist (XML or binary) of the bundle at `path`, a folder whose name ends in
/// ".app". Gives nullopt where that is missing, unreadable, far too large, or names no identifier or executable.
std::optional<Bundle> readBundle(const std::filesystem::path& path);

/// What the bundle at `path` says of itself if this is what its Info.plist holds. Looks at no file; for no more than
/// the other would read.
std::optional<Bundle> readBundle(const std::filesystem::path& path, std::string_view infoPlist);

}  // namespace zt::platform
