#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/journal.h"
#include "ztschedules/schedule_entry.h"

namespace zt {

/// What became of a copy.
enum class Outcome : std::uint8_t {
  started,
  failed,   ///< its run could not start it
  missed,   ///< there was no run
  unknown,  ///< the journal does not tell whether there was one
  notDue    ///< there was one, but the crontab was another then, or the time zone
};

/// A minute in which a schedule was due, by the crontab and the time zone as they are now.
struct PastRun {
  const ScheduleEntry* entry;
  Instant due;
  Outcome outcome;
  std::optional<std::chrono::seconds> delay{};  ///< from the start of the minute to that of the copy
  std::string reason{};                         ///< why it was not started, or what is odd about it; can be empty
};

/// Whether somebody should look at it.
bool isProblem(const PastRun& run);

/// The runs that were due from `since` to `until`, oldest first; those at the same time in the order of the crontab.
/// Leaves out those before the first entry of the tool in the journal, and those that may still be started after `now`.
std::vector<PastRun> pastRuns(std::span<const ScheduleEntry> entries, Instant since, Instant until, Instant now,
                              const Journal& journal, const Calendar& calendar);

/// The last run of each schedule that makes copies and was due then, under the same conditions, as far as it is in the
/// last 400 days.
std::vector<PastRun> lastRuns(std::span<const ScheduleEntry> entries, Instant now, const Journal& journal,
                              const Calendar& calendar);

/// The time of the first entry of the tool; nullopt if there is none.
std::optional<Instant> historyBegin(const Journal& journal);

}  // namespace zt
