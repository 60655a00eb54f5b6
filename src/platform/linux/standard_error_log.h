#pragma once

#include <mutex>

#include "platform/log_sinks.h"

namespace zt::platform {

/// Entries on standard error, each written whole: local date and time, process name with its and
/// the thread's number, message.
class StandardErrorLog final : public PlainLog {
 public:
  void write(std::string_view message) override;

 private:
  std::mutex writing_;
};

}  // namespace zt::platform
