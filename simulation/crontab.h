#pragma once

#include <time.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "random.h"

namespace zt::simulation {

using Minute = std::chrono::sys_time<std::chrono::minutes>;

/// A crontab that somebody might have, together with what it means. The meaning is known from how each line was drawn:
/// the text is never read here, and nothing of the tool's own code decides what is due.
class Crontab {
 public:
  /// Up to 24 schedules, in the zone of TZ. One line in five is malformed or never fires, and now and then one is due
  /// but names no URL.
  static Crontab draw(Random& random);

  /// As `crontab -l` prints it.
  const std::vector<std::string>& text() const { return text_; }

  /// The URLs of the copies that are to be started in a minute, in order.
  std::vector<std::string> dueAt(Minute minute) const;

  /// The first minute from `from` on in which a schedule fires, found by trying every one; nullopt when none ever does.
  std::optional<Minute> next(Minute from) const;

 private:
  /// Fires at one wall time, on the weekdays (bit 0 is Sunday) whose ordinal in the month (bit 0 is the first) is set.
  struct Schedule {
    int minute, hour;
    unsigned weekdays, ordinals;
    std::string url;  ///< empty when the line names none: there is nothing to start

    bool firesAt(const tm& local) const;
  };

  void drawLine(Random& random, int minute, int hour);

  std::vector<std::string> text_;
  std::vector<Schedule> schedules_;
  mutable Minute scannedFrom_ = Minute::max(), found_{};  ///< what next() knows already
};

}  // namespace zt::simulation
