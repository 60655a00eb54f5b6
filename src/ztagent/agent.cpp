#include "ztagent/agent.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "discovery/crontab_reader.h"
#include "schedules/next_event.h"
#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;

LocalTime read(const std::string& time) {
  // strptime(3) would take blanks anywhere.
  int end = 0;
  std::sscanf(time.c_str(), "%*2[0-9]/%*2[0-9]/%*4[0-9]%*1[ ]%*2[0-9]:%*2[0-9]:%*2[0-9]%n", &end);
  const bool hasForm = static_cast<std::size_t>(end) == time.size();
  if (const auto local = util::readLocalTime(time, "%m/%d/%Y %H:%M:%S"); hasForm && local) return *local;
  throw AgentFailure(std::string("'").append(time).append("' is no date and time such as 3/5/2027 7:3:00."));
}

std::string shown(LocalTime time) {
  return util::formatted(time, "%F %T");
}

AgentFailure noEvent(LocalTime time, const std::string& reason, platform::LogLevel level = platform::LogLevel::error) {
  return AgentFailure("no wake event at " + shown(time) + reason, level);
}

constexpr auto* periodicTimer = "ztbackupbytime.timer";

/// Why a timer is not active although it has been started. systemd does not say so; this is what it usually is, and
/// what to do about it.
AgentFailure notArmed(LocalTime time, platform::ServiceManager& serviceManager) {
  const auto failure = [&](const std::string& reason, platform::LogLevel level = platform::LogLevel::error) {
    return noEvent(time, ": systemd could not arm the timer. " + reason, level);
  };
  if (!serviceManager.isActive(periodicTimer))
    return failure(std::string(periodicTimer) + " is not active.", platform::LogLevel::default_);
  if (!serviceManager.hasWakeClock())
    return failure("This machine has no clock that could wake it; copies are made while it is awake.",
                   platform::LogLevel::default_);
  return failure(
      "The user's service manager may lack the right to wake the machine (CAP_WAKE_ALARM). Before systemd 254 it comes "
      "from the file user@.service.d/ztbackupbytime.conf of the package and is there after a restart of the machine, "
      "or 'systemctl restart user@" +
      std::to_string(::getuid()) + ".service' as root. Until then copies are made while the machine is awake.");
}

}  // namespace

void Agent::wake(const std::string& time) {
  const LocalTime local = read(time);
  const auto instants = services_.calendar.instants(local);
  if (instants.empty()) throw noEvent(local, ": the clocks skip that time.");
  // systemd takes a time that has passed, but does nothing then.
  const auto instant = std::ranges::upper_bound(instants, services_.clock.now());
  if (instant == instants.end()) throw noEvent(local, ": that time has passed.");
  set(*instant);
}

void Agent::set(Instant instant) {
  const LocalTime local = services_.calendar.localTime(instant);
  try {
    if (services_.serviceManager.start(wakeTimer(instant))) return;
    // It can have come meanwhile.
    if (services_.clock.now() < instant) throw notArmed(local, services_.serviceManager);
  } catch (const platform::ServiceManagerError& error) {
    throw noEvent(local, std::string(": systemd could not arm the timer. ") + error.what());
  }
}

void Agent::cancel(const std::string& time) {
  const LocalTime local = read(time);
  try {
    auto all = events();
    if (std::erase_if(all, [&](const auto& event) { return event.time != local; }); all.empty())
      throw noEvent(local, " is cancelled: none is set.", platform::LogLevel::default_);
    for (const auto& event : all) services_.serviceManager.stop(event.timer);
  } catch (const platform::ServiceManagerError& error) {
    throw noEvent(local, std::string(" is cancelled. ") + error.what());
  }
}

std::vector<std::string> Agent::list() {
  auto all = events();
  std::ranges::sort(all, {}, &WakeEvent::time);
  std::vector<std::string> lines;
  for (const auto& event : all) {
    const auto index = std::to_string(lines.size());
    lines.push_back(
        util::formatted(event.time, "] wake at %m/%d/%Y %T by 'ZTAgent'").insert(0, index).insert(0, 1, '['));
  }
  return lines;
}

std::optional<Instant> Agent::arm() {
  const auto lines = readCrontabLines(services_.commands);
  if (!lines) throw AgentFailure("no wake event is set. crontab was killed.");
  // What is due in this minute is due already: no event can start it.
  const auto next = nextEventDate(*lines, services_.clock.now() + 1min, services_.calendar);
  if (next) arm(*next);
  return next;
}

void Agent::arm(Instant instant) {
  if (instant <= services_.clock.now()) return;
  try {
    const auto timers = services_.serviceManager.waitingTimers();
    const auto isSet = [&](const auto& timer) { return std::ranges::find(timers, timer) != timers.end(); };
    if (!isSet(oldWakeTimer(services_.calendar.localTime(instant))) && !isSet(wakeTimer(instant))) set(instant);
  } catch (const platform::ServiceManagerError& error) {
    throw AgentFailure(std::string("no wake event is set. ") + error.what());
  }
}

std::vector<WakeEvent> Agent::events() {
  std::vector<WakeEvent> events;
  for (const auto& timer : services_.serviceManager.waitingTimers()) {
    if (auto event = wakeEventOf(timer, services_.calendar)) events.push_back(std::move(*event));
  }
  return events;
}

}  // namespace zt
