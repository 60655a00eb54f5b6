#include "platform/linux/journal_log.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "platform/file_handle.h"
#include "platform/linux/systemd_library.h"

namespace zt::platform {
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

std::optional<JournalLog> JournalLog::find() {
  const FileHandle socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const sockaddr_un journal = {.sun_family = AF_UNIX, .sun_path = "/run/systemd/journal/socket"};
  if (::connect(socket.fileDescriptor(), reinterpret_cast<const sockaddr*>(&journal), sizeof(journal)) != 0) {
    return std::nullopt;
  }
  const auto* systemd = SystemdLibrary::load();
  if (systemd == nullptr) return std::nullopt;
  return JournalLog(*systemd);
}

JournalLog::JournalLog(const SystemdLibrary& systemd) : systemd_(systemd) {
  char* unit = nullptr;
  if (systemd_.sd_pid_get_user_unit(0, &unit) < 0) return;
  unit_ = unit;
  std::free(unit);
}

void JournalLog::write(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) {
  std::vector<std::string> fields = {
      std::string("MESSAGE=").append(message),
      "PRIORITY=" + std::to_string(priority(level)),
      std::string("SUBSYSTEM=").append(subsystem),
      std::string("CATEGORY=").append(category),
      std::string("SYSLOG_IDENTIFIER=") + program_invocation_short_name,
  };
  if (!unit_.empty()) fields.push_back("USER_UNIT=" + unit_);
  std::vector<iovec> parts(fields.size());
  std::ranges::transform(fields, parts.begin(), [](auto& field) { return iovec{field.data(), field.size()}; });
  systemd_.sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

}  // namespace zt::platform
