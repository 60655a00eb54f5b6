#pragma once

#include <map>

#include "platform/file_handle.h"
#include "platform/power_assertions.h"

namespace zt::platform {

/// Inhibitor locks of systemd-logind (org.freedesktop.login1(5), Inhibit). Every user may take one against idle sleep.
/// The only type is "PreventUserIdleSystemSleep".
///
/// If there is no lock, the result of create() is a negative errno(3): -EACCES if logind refuses, -ENOENT or
/// -ECONNREFUSED without a system bus, -ELIBACC without libsystemd, -ETIMEDOUT without an answer within two seconds,
/// and others. A file descriptor holds the lock, so it ends with this process at the latest.
class LogindPowerAssertions final : public PowerAssertions {
 public:
  Created create(std::string_view type, std::string_view name, std::string_view details) override;
  void release(std::uint32_t identifier) override;

 private:
  std::map<std::uint32_t, FileHandle> locks_;
};

}  // namespace zt::platform
