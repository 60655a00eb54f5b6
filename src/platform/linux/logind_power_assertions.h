#pragma once

#include <map>

#include "platform/file_handle.h"
#include "platform/power_assertions.h"

namespace zt::platform {

/// Inhibitor locks of systemd-logind (org.freedesktop.login1(5), Inhibit), which every user may take for idle
/// sleep. The only type is "PreventUserIdleSystemSleep".
///
/// The result of create() is negative where there is no lock: a number of errno(3), such as -EACCES where
/// logind refuses, -ENOENT or -ECONNREFUSED without a system bus, -ELIBACC without libsystemd, and -ETIMEDOUT when
/// there was no answer within two seconds. A lock is held by a file descriptor, so that it ends with this process at
/// the latest.
class LogindPowerAssertions final : public PowerAssertions {
 public:
  Created create(std::string_view type, std::string_view name, std::string_view details) override;
  void release(std::uint32_t identifier) override;

 private:
  std::map<std::uint32_t, FileHandle> locks_;
};

}  // namespace zt::platform
