#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace zt::simulation {

using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

using Moment = std::chrono::sys_time<milliseconds>;
using Minute = std::chrono::sys_time<minutes>;
using LocalMinute = std::chrono::local_time<minutes>;

/// A time zone by the C library's rules, from 2024 to 2040. Its offsets are whole minutes. A machine can be moved to
/// another zone while the tool still computes in the one that the C library has.
class TimeZone {
 public:
  /// One of zoneNames.
  static const TimeZone& named(std::string_view name);

  const char* name() const { return name_; }
  minutes offset(Minute minute) const;
  LocalMinute local(Minute minute) const { return LocalMinute{minute.time_since_epoch() + offset(minute)}; }

 private:
  struct Change {
    Minute at;
    minutes offset;
  };

  explicit TimeZone(const char* name);

  const char* name_;
  std::vector<Change> changes_;
};

/// What a clock with that offset shows, as in the listing of wake events: "03/05/2027 07:03:00".
std::string shown(Moment moment, minutes offset);
/// The same in a time zone.
inline std::string shown(Moment moment, const TimeZone& zone) {
  return shown(moment, zone.offset(std::chrono::floor<minutes>(moment)));
}

}  // namespace zt::simulation
