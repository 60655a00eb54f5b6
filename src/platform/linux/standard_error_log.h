#pragma once

#include <mutex>

#include "platform/log_sinks.h"

namespace zt::platform {

/// Entries on standard error, one line each: local date and time, name of the process, numbers of process and thread,
/// message.
class StandardErrorLog final : public PlainLog {
 public:
  void write(std::string_view message) override;

 private:
  std::mutex writing_;
};

}  // namespace zt::platform
