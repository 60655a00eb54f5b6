#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "crontab.h"
#include "figures.h"
#include "platform/journal.h"

namespace zt::simulation {

/// The journal of a machine, as its journal service would keep it.
class MachineJournal final : public Journal {
 public:
  /// Without the system's entries, the user can read only their own.
  explicit MachineJournal(bool hasSystem) : hasSystem_(hasSystem) {}

  void write(JournalEntry entry);
  bool isLarge() const;
  /// Leaves out old entries of a journal that is large. Those that are rare stay.
  void vacuum();

  /// Whether the clock has been set so often that a minute can be in other places (see Journal) than the first and the
  /// last one, which are those that the history looks at.
  bool isHidden(Minute minute) const;

  void readForward(Selection selection, JournalEntry::Time from, Place place, const Reader& reader) const override;
  void readBackward(Selection selection, JournalEntry::Time end, Place place, const Reader& reader) const override;
  Scope scope() const override { return {.hasSystem = hasSystem_, .isPersistent = true}; }

 private:
  /// In order of writing. Another file begins when the clock has been set back, so each is in order of time.
  using File = std::vector<JournalEntry>;

  bool hasSystem_;
  std::array<std::vector<File>, 5> files_;  ///< by selection
  JournalEntry::Time last_{};               ///< when an entry was written
};

/// What became of the copies since the crontab and the zone were changed, for a comparison with what the history tells
/// about them from the journal.
class Truth {
 public:
  void passBegins(Minute minute) { passes_.try_emplace(minute, period_); }
  void copyStarted(Minute minute, const std::string& url) { copies_[{minute, url}] = std::nullopt; }
  void copyLost(Minute minute, const std::string& url, Cause cause) { copies_.try_emplace({minute, url}, cause); }

  void beginPeriod(std::optional<Moment> now);
  bool hasPeriod() const { return begin_.has_value(); }
  /// Gives what is told wrong about the period, with entries around that minute.
  std::vector<std::string> compare(const MachineJournal& journal, Moment now, const Crontab& crontab,
                                   const TimeZone& zone, Figures& figures) const;

 private:
  using Copy = std::pair<Minute, std::string>;

  bool canBeTold(Minute minute, std::optional<Cause> lostBy, Moment now) const;

  int period_ = 0;
  std::optional<Minute> begin_;                  ///< of the period
  std::map<Minute, int> passes_;                 ///< the period of the first one
  std::map<Copy, std::optional<Cause>> copies_;  ///< nullopt: started
};

}  // namespace zt::simulation
