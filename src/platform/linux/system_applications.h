#pragma once

#include <utility>

#include "platform/applications.h"

namespace zt::platform {

/// Bundles among this user's processes and in application folders. Only processes with the same real and effective user
/// as this one count, and only bundles whose programs are where nobody else can have put them: see distrust().
class SystemApplications final : public Applications {
 public:
  /// The folders are searched in order, and the entries of each in name order.
  explicit SystemApplications(std::vector<std::filesystem::path> folders) : folders_(std::move(folders)) {}

  std::vector<std::optional<std::filesystem::path>> running(std::string_view bundleIdentifier,
                                                            const Refused& refused) const override;
  std::optional<std::filesystem::path> installed(std::string_view bundleIdentifier,
                                                 const Refused& refused) const override;

  /// Where applications are installed: $HOME/Applications, /Applications, /opt.
  static std::vector<std::filesystem::path> defaultFolders();

 private:
  std::vector<std::filesystem::path> folders_;
};

}  // namespace zt::platform
