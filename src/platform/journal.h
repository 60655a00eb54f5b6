#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace zt::platform {

/// What an entry of the journal tells.
enum class JournalEvent : std::uint8_t {
  other,
  message,          ///< the tool has logged `text`
  output,           ///< a run, or a copy, has printed `text`
  runBegins,        ///< the service manager starts a run,
  runEnds,          ///< it has ended,
  runFails,         ///< or failed, as `text` says
  timerStarts,      ///< the timer that starts runs is active
  timerStops,       ///< or not any more
  managerStarts,    ///< the user's service manager runs
  managerStops,     ///< or not any more
  sleepIsPrepared,  ///< the machine is about to be suspended
  sleepBegins,      ///< the same, as the system says it
  crontabChanges    ///< the user's crontab has been replaced or removed
};

struct JournalEntry {
  using Time = std::chrono::sys_time<std::chrono::microseconds>;

  JournalEvent event = JournalEvent::other;
  Time time;                        ///< on the wall clock
  std::chrono::microseconds awake;  ///< since the machine was started, without the time in which it was suspended
  std::string boot;                 ///< another one each time the machine is started
  std::string process{};            ///< the number of the process that has logged it
  std::string text{};
};

/// What the machine has recorded about the tool of this user, and about itself.
class Journal {
 public:
  virtual ~Journal() = default;

  enum class Selection : std::uint8_t {
    tool,     ///< messages, output and runs
    timer,    ///< the timer and the service manager
    sleep,    ///< sleepIsPrepared and sleepBegins
    crontab,  ///< crontabChanges
    all       ///< all that can be read, as other events without process and text
  };
  /// Takes an entry. Gives whether it wants another one.
  using Reader = std::function<bool(const JournalEntry&)>;

  /// A clock that is set back shows a time again, and one that was ahead for a while leaves entries of times to come.
  /// So there can be several places where a time belongs among the entries, which are in the order of writing.
  enum class Place : std::uint8_t {
    first,  ///< before all entries that are not before that time
    last    ///< after all entries that are before it
  };

  // Both read nothing if there is no journal, or no right to read it.

  /// Entries at or after `from`, from a place of that time on, in the order of writing.
  virtual void readForward(Selection selection, JournalEntry::Time from, Place place, const Reader& reader) const = 0;
  /// Entries before `end`, from a place of that time back, latest first.
  virtual void readBackward(Selection selection, JournalEntry::Time end, Place place, const Reader& reader) const = 0;

  /// What a journal can show at best.
  struct Scope {
    bool hasSystem = false;     ///< it shows what the system logs, not only what this user does
    bool isPersistent = false;  ///< all of it is kept when the machine is switched off
  };
  virtual Scope scope() const = 0;
};

}  // namespace zt::platform

namespace zt {
using platform::Journal;
using platform::JournalEntry;
using platform::JournalEvent;
}  // namespace zt
