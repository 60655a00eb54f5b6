#include "platform/linux/systemd_library.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>

namespace zt::platform {
namespace {

std::optional<SystemdLibrary> open() {
  // Never closed: the functions are needed until the process ends.
  void* const library = ::dlopen("libsystemd.so.0", RTLD_NOW);
  if (library == nullptr) return std::nullopt;
  bool complete = true;
  const auto find = [&]<class Function>(Function*& function, const char* name) {
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    complete = complete && function != nullptr;
  };
  SystemdLibrary functions{};
  find(functions.sd_bus_call_method_async, "sd_bus_call_method_async");
  find(functions.sd_bus_close_unref, "sd_bus_close_unref");
  find(functions.sd_bus_message_enter_container, "sd_bus_message_enter_container");
  find(functions.sd_bus_message_get_errno, "sd_bus_message_get_errno");
  find(functions.sd_bus_message_get_error, "sd_bus_message_get_error");
  find(functions.sd_bus_message_read, "sd_bus_message_read");
  find(functions.sd_bus_message_ref, "sd_bus_message_ref");
  find(functions.sd_bus_message_unref, "sd_bus_message_unref");
  find(functions.sd_bus_new, "sd_bus_new");
  find(functions.sd_bus_open_system, "sd_bus_open_system");
  find(functions.sd_bus_process, "sd_bus_process");
  find(functions.sd_bus_set_bus_client, "sd_bus_set_bus_client");
  find(functions.sd_bus_set_fd, "sd_bus_set_fd");
  find(functions.sd_bus_slot_unref, "sd_bus_slot_unref");
  find(functions.sd_bus_start, "sd_bus_start");
  find(functions.sd_bus_wait, "sd_bus_wait");
  find(functions.sd_journal_add_disjunction, "sd_journal_add_disjunction");
  find(functions.sd_journal_add_match, "sd_journal_add_match");
  find(functions.sd_journal_close, "sd_journal_close");
  find(functions.sd_journal_flush_matches, "sd_journal_flush_matches");
  find(functions.sd_journal_get_data, "sd_journal_get_data");
  find(functions.sd_journal_get_monotonic_usec, "sd_journal_get_monotonic_usec");
  find(functions.sd_journal_get_realtime_usec, "sd_journal_get_realtime_usec");
  find(functions.sd_journal_next, "sd_journal_next");
  find(functions.sd_journal_open, "sd_journal_open");
  find(functions.sd_journal_previous, "sd_journal_previous");
  find(functions.sd_journal_seek_realtime_usec, "sd_journal_seek_realtime_usec");
  find(functions.sd_notify, "sd_notify");
  find(functions.sd_pid_get_user_unit, "sd_pid_get_user_unit");
  return complete ? std::optional(functions) : std::nullopt;
}

}  // namespace

const SystemdLibrary* SystemdLibrary::load() {
  static const auto library = open();
  return library ? &*library : nullptr;
}

void notifyReady() {
  if (const auto* systemd = SystemdLibrary::load()) systemd->sd_notify(0, "READY=1");
}

std::string unitOfThisProcess() {
  if (::access("/run/systemd/system", F_OK) != 0) return {};  // then loading the library would be in vain
  const auto* systemd = SystemdLibrary::load();
  char* unit = nullptr;
  if (systemd == nullptr || systemd->sd_pid_get_user_unit(0, &unit) < 0) return {};
  const std::unique_ptr<char, decltype(&std::free)> owner(unit, std::free);
  return unit;
}

}  // namespace zt::platform
