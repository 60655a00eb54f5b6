#pragma once

// Readers of the journal have no use for the place in the source.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-bus.h>
#include <systemd/sd-journal.h>
#include <systemd/sd-login.h>

namespace zt {

/// The functions of libsystemd, under their own names. On Debian 12 it brings six more libraries along, and loading
/// them takes as long as all the rest of the tool's start: who needs it loads it here. Nothing is linked with it.
struct SystemdLibrary {
  /// Loads the library at the first call, and then stays with the outcome: null where it is missing. One thread at a
  /// time.
  static const SystemdLibrary* load();

  decltype(&::sd_bus_call_method_async) sd_bus_call_method_async;
  decltype(&::sd_bus_close_unref) sd_bus_close_unref;
  decltype(&::sd_bus_message_get_errno) sd_bus_message_get_errno;
  decltype(&::sd_bus_message_read) sd_bus_message_read;
  decltype(&::sd_bus_open_system) sd_bus_open_system;
  decltype(&::sd_bus_process) sd_bus_process;
  decltype(&::sd_bus_wait) sd_bus_wait;
  decltype(&::sd_journal_sendv) sd_journal_sendv;
  decltype(&::sd_pid_get_user_unit) sd_pid_get_user_unit;
};

}  // namespace zt
