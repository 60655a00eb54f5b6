#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/linux/systemd_library.h"

namespace zt::platform {

/// The answer to a method call.
struct BusReply {
  int result;         ///< a negative errno(3) if the call failed
  std::string error;  ///< of a call that failed: what the other side says, or else the text of the errno
  std::shared_ptr<sd_bus_message> message = nullptr;  ///< of a call that succeeded
};

/// A D-Bus connection. All that is done on it has one time limit, counted from its construction, after which every
/// operation fails with -ETIMEDOUT. sd_bus_call() has none until the other side has accepted the connection, which one
/// that hangs never does. For one thread.
class BusConnection {
 public:
  explicit BusConnection(std::chrono::milliseconds limit) : end_(std::chrono::steady_clock::now() + limit) {}

  // Both connect. They give 0 or a negative errno: -ENOENT or -ECONNREFUSED if nobody is there, -ELIBACC without
  // libsystemd, and others.

  int openSystemBus();
  /// The bus of the user whose service manager this is, or else the manager's own socket. That one would always do, and
  /// systemctl(1) uses it first, but each connection to it costs the manager several times as much. Neither needs
  /// XDG_RUNTIME_DIR, which cron does not set.
  int openUserManager();

  /// A method of an object. Its name on a bus; the service manager's own socket ignores that.
  struct Method {
    const char* destination;
    const char* path;
    const char* interface;
    const char* member;
  };

  static constexpr auto* managerInterface = "org.freedesktop.systemd1.Manager";
  /// A method of the service manager (org.freedesktop.systemd1(5)).
  static Method ofManager(const char* member) {
    return {"org.freedesktop.systemd1", "/org/freedesktop/systemd1", managerInterface, member};
  }

  /// Calls a method with arguments as sd_bus_message_append(3) takes them, and waits for the answer.
  template <class... Arguments>
  BusReply call(const Method& method, const char* types, Arguments... arguments) {
    sd_bus_slot* slot = nullptr;
    std::shared_ptr<sd_bus_message> answer;
    const int result =
        systemd_->sd_bus_call_method_async(bus_.get(), &slot, method.destination, method.path, method.interface,
                                           method.member, takeAnswer, &answer, types, arguments...);
    return await(result, slot, answer);
  }

  /// The library, once a connection is open.
  const SystemdLibrary& systemd() const { return *systemd_; }

 private:
  static int takeAnswer(sd_bus_message* message, void* answer, sd_bus_error* error);
  /// Waits until there is an answer. Gives 0 or a negative errno.
  int waitFor(const std::shared_ptr<sd_bus_message>& answer);
  BusReply await(int result, sd_bus_slot* slot, const std::shared_ptr<sd_bus_message>& answer);
  int own(sd_bus* opened, int result);

  std::chrono::steady_clock::time_point end_;
  const SystemdLibrary* systemd_ = nullptr;
  std::shared_ptr<sd_bus> bus_;
};

}  // namespace zt::platform
