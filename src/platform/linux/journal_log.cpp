#include "platform/linux/journal_log.h"

// Readers of the journal have no use for the place in the source.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <errno.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <array>
#include <string>

#include "platform/file_handle.h"

namespace zt {
namespace {

int priority(LogLevel level) {
  switch (level) {
    case LogLevel::default_:
      return LOG_NOTICE;
    case LogLevel::debug:
      return LOG_DEBUG;
    case LogLevel::info:
      return LOG_INFO;
    case LogLevel::error:
      return LOG_ERR;
    case LogLevel::fault:
      return LOG_CRIT;
  }
  return LOG_NOTICE;
}

}  // namespace

bool JournalLog::answers() {
  const FileHandle socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const sockaddr_un journal = {.sun_family = AF_UNIX, .sun_path = "/run/systemd/journal/socket"};
  return ::connect(socket.fileDescriptor(), reinterpret_cast<const sockaddr*>(&journal), sizeof(journal)) == 0;
}

void JournalLog::write(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) {
  std::array fields = {
      std::string("MESSAGE=").append(message),
      "PRIORITY=" + std::to_string(priority(level)),
      std::string("SUBSYSTEM=").append(subsystem),
      std::string("CATEGORY=").append(category),
      std::string("SYSLOG_IDENTIFIER=") + program_invocation_short_name,
  };
  std::array<iovec, fields.size()> parts;
  for (std::size_t i = 0; i < fields.size(); ++i) parts[i] = {fields[i].data(), fields[i].size()};
  ::sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

}  // namespace zt
