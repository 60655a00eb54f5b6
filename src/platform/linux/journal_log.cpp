#include "platform/linux/journal_log.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "platform/linux/systemd_library.h"

namespace zt::platform {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

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

/// Appends a field as the journal takes it: a line NAME=value, or, if the value has several lines, one with the name
/// and then the size of the value, in 8 bytes, and the value (systemd.io/JOURNAL_NATIVE_PROTOCOL).
void append(std::string& entry, std::string_view name, std::string_view value) {
  entry.append(name);
  if (value.find('\n') == value.npos) {
    entry += '=';
  } else {
    entry += '\n';
    for (unsigned shift = 0; shift < 64; shift += 8) entry += static_cast<char>(std::uint64_t{value.size()} >> shift);
  }
  entry.append(value) += '\n';
}

bool connectToJournal(int socket) {
  const sockaddr_un journal = {.sun_family = AF_UNIX, .sun_path = "/run/systemd/journal/socket"};
  return ::connect(socket, reinterpret_cast<const sockaddr*>(&journal), sizeof(journal)) == 0;
}

}  // namespace

std::optional<JournalLog> JournalLog::find(std::string unit) {
  auto socket = std::make_unique<FileHandle>(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!connectToJournal(socket->fileDescriptor())) return std::nullopt;
  return JournalLog(std::move(socket), unit.empty() ? unitOfThisProcess() : std::move(unit));
}

JournalLog::JournalLog(std::unique_ptr<FileHandle> socket, std::string unit)
    : socket_(std::move(socket)), unit_(std::move(unit)) {}

void JournalLog::write(LogLevel level, std::string_view subsystem, std::string_view category,
                       std::string_view message) {
  std::string entry;
  append(entry, "MESSAGE", message);
  append(entry, "PRIORITY", std::to_string(priority(level)));
  append(entry, "SUBSYSTEM", subsystem);
  append(entry, "CATEGORY", category);
  append(entry, "SYSLOG_IDENTIFIER", program_invocation_short_name);
  if (!unit_.empty()) append(entry, "USER_UNIT", unit_);
  send(entry);
}

void JournalLog::send(std::string_view entry) {
  const int socket = socket_->fileDescriptor();
  const std::lock_guard lock(*sending_);
  bool hasConnected = false;
  for (;;) {
    if (::send(socket, entry.data(), entry.size(), MSG_NOSIGNAL) >= 0) return;
    if (errno == EAGAIN && waitLeft_ > 0ms) {
      const auto start = steady_clock::now();
      pollfd event{socket, POLLOUT, 0};
      ::poll(&event, 1, static_cast<int>(waitLeft_.count()));
      waitLeft_ -= std::chrono::ceil<milliseconds>(steady_clock::now() - start);
    } else if ((errno == ECONNREFUSED || errno == ENOTCONN) && !hasConnected) {
      // Another journal has taken its place, now or at an earlier entry.
      hasConnected = connectToJournal(socket);
      if (!hasConnected) return;
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace zt::platform
