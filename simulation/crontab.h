#pragma once

#include <bitset>
#include <optional>
#include <string>
#include <vector>

#include "local_time.h"
#include "random.h"

namespace zt::simulation {

/// A crontab that somebody might have, and what it means. The meaning is known from how each line was drawn: the text
/// is never parsed here, and none of the tool's own code decides what is due.
class Crontab {
 public:
  /// Up to 24 schedules. One line in five is malformed or never fires, and now and then one fires but has no URL.
  static Crontab draw(Random& random);

  /// As `crontab -l` prints it.
  const std::vector<std::string>& text() const { return text_; }

  /// The URLs of the copies that are due in a minute, in order.
  std::vector<std::string> dueAt(Minute minute, const TimeZone& zone) const;

  /// The first minute from `from` on in which a schedule fires, found by trying each minute; nullopt if none ever does.
  std::optional<Minute> next(Minute from, const TimeZone& zone) const;

 private:
  /// Fires at one local time, on the weekdays (bit 0 is Sunday) with one of the ordinals in their month (bit 0 is the
  /// first): the second Monday, for example.
  struct Schedule {
    minutes time;  ///< since midnight
    unsigned weekdays, ordinals;
    std::string url;  ///< empty if the line has none, so that there is nothing to start

    bool firesAt(LocalMinute local) const;
  };

  void drawLine(Random& random, minutes time);

  std::vector<std::string> text_;
  std::vector<Schedule> schedules_;
  std::bitset<1440> times_;  ///< of all schedules
  // A cache of next(): no schedule fires from `searchedFrom_` to before `found_`.
  mutable Minute searchedFrom_ = Minute::max(), found_{};
  mutable const TimeZone* searchedIn_ = nullptr;
};

}  // namespace zt::simulation
