#pragma once

#include <cstdint>
#include <string_view>

namespace zt::platform {

/// Keeps the machine from idle sleep.
class PowerAssertions {
 public:
  struct Created {
    std::int32_t result;       ///< 0 on success, otherwise the service's error number
    std::uint32_t identifier;  ///< names the assertion to release(); valid only on success
  };

  virtual ~PowerAssertions() = default;

  /// Takes an assertion that lasts until it is released or this process ends. `type` is what it prevents; `name` and
  /// `details` tell a person who has taken it and why.
  virtual Created create(std::string_view type, std::string_view name, std::string_view details) = 0;

  /// Releases an assertion. A failure is not reported: the process is about to end.
  virtual void release(std::uint32_t identifier) = 0;
};

}  // namespace zt::platform
