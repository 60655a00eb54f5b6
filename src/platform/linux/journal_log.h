#pragma once

#include <optional>
#include <string>

#include "platform/log_sinks.h"

namespace zt::platform {

struct SystemdLibrary;

/// Entries in the journal of systemd, with the fields MESSAGE, PRIORITY, SYSLOG_IDENTIFIER (see
/// systemd.journal-fields(7)), SUBSYSTEM and CATEGORY. In a unit of a user's systemd they have USER_UNIT as well: the
/// journal finds the unit of an entry by its process, which has ended by then if the entry was among its last.
/// An entry that the journal does not take is lost.
class JournalLog final : public UnifiedLog {
 public:
  /// nullopt where no journal takes entries on this machine, or without libsystemd.
  static std::optional<JournalLog> find();

  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override;

 private:
  explicit JournalLog(const SystemdLibrary& systemd);

  const SystemdLibrary& systemd_;
  std::string unit_;  ///< the user's unit that this process is part of, or empty
};

}  // namespace zt::platform
