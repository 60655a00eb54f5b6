#pragma once

#include <optional>
#include <string>

#include "platform/log_sinks.h"

namespace zt::platform {

struct SystemdLibrary;

/// Entries in the systemd journal, with the fields MESSAGE, PRIORITY, SYSLOG_IDENTIFIER (systemd.journal-fields(7)),
/// SUBSYSTEM and CATEGORY. In a unit of the user they also have USER_UNIT: the journal looks up the unit by the
/// process, which may have ended before its last entries are read. An entry that the journal does not accept is lost.
class JournalLog final : public UnifiedLog {
 public:
  /// nullopt if no journal accepts entries, or without libsystemd.
  static std::optional<JournalLog> find();

  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override;

 private:
  explicit JournalLog(const SystemdLibrary& systemd);

  const SystemdLibrary& systemd_;
  std::string unit_;  ///< the user's unit that this process belongs to, or empty
};

}  // namespace zt::platform
