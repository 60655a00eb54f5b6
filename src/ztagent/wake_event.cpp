#include "ztagent/wake_event.h"

#include <charconv>
#include <cstdint>
#include <string_view>

#include "util/time_text.h"

namespace zt {
namespace {

constexpr std::string_view prefix = "ztbackupbytime-wake@";
constexpr std::string_view suffix = ".timer";
constexpr auto* oldFormat = "ZTAgent-%Y-%m-%d-%H-%M-%S.timer";

}  // namespace

std::string wakeTimer(Instant instant) {
  return std::string(prefix).append(std::to_string(instant.time_since_epoch().count())).append(suffix);
}

std::string oldWakeTimer(LocalTime time) {
  return util::formatted(time, oldFormat);
}

std::optional<WakeEvent> wakeEventOf(const std::string& timer, const Calendar& calendar) {
  if (const auto time = util::readLocalTime(timer, oldFormat); time && oldWakeTimer(*time) == timer)
    return WakeEvent{timer, *time};
  if (!timer.starts_with(prefix)) return std::nullopt;
  std::int64_t number{};
  std::from_chars(timer.data() + prefix.size(), timer.data() + timer.size(), number);
  const Instant instant{std::chrono::seconds{number}};
  if (timer != wakeTimer(instant)) return std::nullopt;
  return WakeEvent{timer, calendar.localTime(instant)};
}

}  // namespace zt
