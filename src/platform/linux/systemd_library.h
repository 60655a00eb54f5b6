#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-journal.h>
#include <systemd/sd-login.h>

#include <string>

namespace zt::platform {

/// The functions of libsystemd, under their own names. The library is loaded when it is first used: linked, it and its
/// dependencies would make every start take two thirds longer (docs/performance.md).
struct SystemdLibrary {
  /// Loads the library at the first call, for good. Null if it is missing or lacks one of the functions.
  static const SystemdLibrary* load();

  decltype(&::sd_bus_call_method_async) sd_bus_call_method_async;
  decltype(&::sd_bus_close_unref) sd_bus_close_unref;
  decltype(&::sd_bus_message_enter_container) sd_bus_message_enter_container;
  decltype(&::sd_bus_message_get_errno) sd_bus_message_get_errno;
  decltype(&::sd_bus_message_get_error) sd_bus_message_get_error;
  decltype(&::sd_bus_message_read) sd_bus_message_read;
  decltype(&::sd_bus_message_ref) sd_bus_message_ref;
  decltype(&::sd_bus_message_unref) sd_bus_message_unref;
  decltype(&::sd_bus_new) sd_bus_new;
  decltype(&::sd_bus_open_system) sd_bus_open_system;
  decltype(&::sd_bus_process) sd_bus_process;
  decltype(&::sd_bus_set_bus_client) sd_bus_set_bus_client;
  decltype(&::sd_bus_set_fd) sd_bus_set_fd;
  decltype(&::sd_bus_slot_unref) sd_bus_slot_unref;
  decltype(&::sd_bus_start) sd_bus_start;
  decltype(&::sd_bus_wait) sd_bus_wait;
  decltype(&::sd_journal_add_disjunction) sd_journal_add_disjunction;
  decltype(&::sd_journal_add_match) sd_journal_add_match;
  decltype(&::sd_journal_close) sd_journal_close;
  decltype(&::sd_journal_flush_matches) sd_journal_flush_matches;
  decltype(&::sd_journal_get_data) sd_journal_get_data;
  decltype(&::sd_journal_get_monotonic_usec) sd_journal_get_monotonic_usec;
  decltype(&::sd_journal_get_realtime_usec) sd_journal_get_realtime_usec;
  decltype(&::sd_journal_next) sd_journal_next;
  decltype(&::sd_journal_open) sd_journal_open;
  decltype(&::sd_journal_previous) sd_journal_previous;
  decltype(&::sd_journal_seek_realtime_usec) sd_journal_seek_realtime_usec;
  decltype(&::sd_notify) sd_notify;
  decltype(&::sd_pid_get_user_unit) sd_pid_get_user_unit;
};

/// Tells the service manager that this service has started, if it is of the type that does (sd_notify(3)).
void notifyReady();

/// The user's unit that this process belongs to. Empty if there is none, or no libsystemd.
std::string unitOfThisProcess();

}  // namespace zt::platform
