#pragma once

#include <optional>
#include <string>

#include "platform/calendar.h"

namespace zt {

/// A wake event that is set, as a timer of the user's service manager.
struct WakeEvent {
  std::string timer;
  LocalTime time;  ///< what the wall clock shows then
};

/// The timer for an event at `instant`: an instance of the template ztbackupbytime-wake@.timer.
std::string wakeTimer(Instant instant);

/// What version 0.1 called that timer, after the local time: ZTAgent-2027-03-05-07-03-00.timer. Its events count as
/// long as there are any.
std::string oldWakeTimer(LocalTime time);

/// The event of a timer with such a name; nullopt for any other timer.
std::optional<WakeEvent> wakeEventOf(const std::string& timer, const Calendar& calendar);

}  // namespace zt
