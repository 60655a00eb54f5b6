#pragma once

#include <string>

#include "platform/calendar.h"
#include "platform/journal.h"

namespace zt {

/// Why the tool has made no pass for a minute.
struct Absence {
  std::string reason;     ///< such as "asleep from 22:10 to Tue 07:03"
  bool isCertain = true;  ///< that there was none; otherwise the journal has nothing about that time
};

/// Why there was no pass for the minute that begins at `minute`, as far as the journal tells.
Absence absenceIn(Instant minute, const Journal& journal, const Calendar& calendar);

/// A local time for people: without its date on the local day of `day`, and with a weekday alone in the week around it.
std::string shortTime(JournalEntry::Time time, Instant day, const Calendar& calendar);

}  // namespace zt
