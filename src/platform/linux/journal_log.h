#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/file_handle.h"
#include "platform/log_sinks.h"

namespace zt::platform {

/// Entries in the systemd journal, with the fields MESSAGE, PRIORITY, SYSLOG_IDENTIFIER (systemd.journal-fields(7)),
/// SUBSYSTEM and CATEGORY. In a unit of the user they also have USER_UNIT: the journal looks up the unit by the
/// process, which may have ended before its last entries are read.
///
/// An entry that the journal does not accept is lost. Over its life, a log waits for a journal that does not read for
/// one second in all. libsystemd's own functions would wait for good, and the copies with them.
class JournalLog final : public UnifiedLog {
 public:
  /// nullopt if no journal accepts entries. With a `unit`, that is the user's unit among whose entries they are shown.
  static std::optional<JournalLog> find(std::string unit = {});

  void write(LogLevel level, std::string_view subsystem, std::string_view category, std::string_view message) override;

 private:
  JournalLog(std::unique_ptr<FileHandle> socket, std::string unit);
  void send(std::string_view entry);

  std::unique_ptr<FileHandle> socket_;                                    ///< does not block
  std::string unit_;                                                      ///< of the user; can be empty
  std::unique_ptr<std::mutex> sending_ = std::make_unique<std::mutex>();  ///< guards what follows
  std::chrono::milliseconds waitLeft_{1000};
};

}  // namespace zt::platform
