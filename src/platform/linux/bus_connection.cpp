#include "platform/linux/bus_connection.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace zt::platform {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

BusReply failed(int result) {
  return {.result = result, .error = std::generic_category().message(-result)};
}

/// A connected socket, or a negative errno.
int connectTo(const std::string& path) {
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  if (path.size() >= sizeof(address.sun_path)) return -ENAMETOOLONG;
  path.copy(static_cast<char*>(address.sun_path), path.size());
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket < 0) return -errno;
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return socket;
  const int error = errno;
  ::close(socket);
  return -error;
}

std::string runtimeFolder() {
  const char* folder = std::getenv("XDG_RUNTIME_DIR");
  return folder != nullptr && *folder != '\0' ? folder : "/run/user/" + std::to_string(::getuid());
}

}  // namespace

int BusConnection::openSystemBus() {
  // Without a bus, loading the library would be in vain.
  if (std::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr && ::access("/run/dbus/system_bus_socket", F_OK) != 0)
    return -errno;
  systemd_ = SystemdLibrary::load();
  if (systemd_ == nullptr) return -ELIBACC;
  sd_bus* opened = nullptr;
  const int result = systemd_->sd_bus_open_system(&opened);
  return own(opened, result);
}

int BusConnection::openUserManager() {
  int socket = connectTo(runtimeFolder() + "/bus");
  const bool isBus = socket >= 0;
  if (!isBus) socket = connectTo(runtimeFolder() + "/systemd/private");
  if (socket < 0) return socket;
  systemd_ = SystemdLibrary::load();
  sd_bus* opened = nullptr;
  int result = systemd_ == nullptr ? -ELIBACC : systemd_->sd_bus_new(&opened);
  if (result >= 0) result = systemd_->sd_bus_set_fd(opened, socket, socket);
  if (result < 0) ::close(socket);  // otherwise the connection owns it
  if (result >= 0) result = systemd_->sd_bus_set_bus_client(opened, isBus ? 1 : 0);
  if (result >= 0) result = systemd_->sd_bus_start(opened);
  return own(opened, result);
}

int BusConnection::own(sd_bus* opened, int result) {
  if (opened != nullptr) bus_ = {opened, systemd_->sd_bus_close_unref};
  return result < 0 ? result : 0;
}

int BusConnection::takeAnswer(sd_bus_message* message, void* answer, sd_bus_error* /*error*/) {
  const auto& systemd = *SystemdLibrary::load();  // loaded: it calls this function
  *static_cast<std::shared_ptr<sd_bus_message>*>(answer) = {systemd.sd_bus_message_ref(message),
                                                            systemd.sd_bus_message_unref};
  return 0;
}

BusReply BusConnection::await(int result, sd_bus_slot* slot, const std::shared_ptr<sd_bus_message>& answer) {
  if (result >= 0) result = waitFor(answer);
  if (slot != nullptr) systemd_->sd_bus_slot_unref(slot);
  if (result < 0) return failed(result);
  const int error = systemd_->sd_bus_message_get_errno(answer.get());
  if (error == 0) return {.result = 0, .error = {}, .message = answer};
  const auto* text = systemd_->sd_bus_message_get_error(answer.get())->message;
  return text == nullptr ? failed(-error) : BusReply{.result = -error, .error = text};
}

int BusConnection::waitFor(const std::shared_ptr<sd_bus_message>& answer) {
  while (answer == nullptr) {
    const auto left = std::chrono::floor<microseconds>(end_ - steady_clock::now());
    if (left <= microseconds::zero()) return -ETIMEDOUT;
    int result = systemd_->sd_bus_process(bus_.get(), nullptr);
    if (result == 0) result = systemd_->sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(left.count()));
    if (result < 0 && result != -EINTR) return result;
  }
  return 0;
}

}  // namespace zt::platform
