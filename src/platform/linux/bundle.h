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

/// Reads Contents/Info.plist (XML or binary) of the bundle at `path`, a folder whose name ends in ".app". Gives nullopt
/// if that is missing, unreadable or far too large, or names no identifier or executable.
std::optional<Bundle> readBundle(const std::filesystem::path& path);

/// The same from the contents of an Info.plist, which may not be larger than what the other function would read.
std::optional<Bundle> readBundle(const std::filesystem::path& path, std::string_view infoPlist);

}  // namespace zt::platform
