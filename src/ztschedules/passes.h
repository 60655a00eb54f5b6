#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/calendar.h"
#include "platform/instant.h"
#include "platform/journal.h"

namespace zt {

/// What the journal tells about a pass of the tool, which starts the copies of one minute.
struct Pass {
  Instant time;                       ///< when it looked at the clock
  std::chrono::seconds offset;        ///< of its local time from UTC
  bool hasReadCrontab = false;        ///< and knows what is due
  bool hasEnded = false;              ///< nothing more is started
  std::vector<std::string> errors{};  ///< why there are copies that it could not start

  struct Start {
    JournalEntry::Time time;
    std::string path;   ///< of what is copied
    std::string error;  ///< why it has failed; empty if it has not
  };
  std::vector<Start> starts{};  ///< in the order of the crontab
};

/// The passes for the minute that begins at `minute`, in order.
std::vector<Pass> passesOf(Instant minute, const Journal& journal);

/// Whether a schedule was to be due in that minute, by the crontab that the last pass before it has read; nullopt if
/// the journal does not tell, or the pass was in another time zone.
std::optional<bool> wasExpected(Instant minute, const Journal& journal, const Calendar& calendar);

}  // namespace zt
