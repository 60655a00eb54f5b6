#pragma once

#include "platform/log_sinks.h"

namespace zt {

/// Entries in the journal of systemd, with the fields MESSAGE, PRIORITY, SYSLOG_IDENTIFIER (see
/// systemd.journal-fields(7)), SUBSYSTEM and CATEGORY. An entry that the journal does not take is lost.
class JournalLog final : public UnifiedLog {
 public:
  /// Whether a journal takes entries on this machine.
  static bool answers();

  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override;
};

}  // namespace zt
