#include "driver/run.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "discovery/crontab_reader.h"
#include "discovery/due_schedules.h"
#include "logging/log_factory.h"
#include "schedules/next_event.h"
#include "schedules/wall_time.h"
#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;

/// A service manager takes a job that ends sooner than this after its start for a failing one, and delays its next
/// start.
constexpr seconds throttleInterval = 10s;

std::string inSeconds(seconds duration) {
  return std::to_string(duration.count()) + " seconds";
}

// The texts of the log are fixed, spelling included: people and programs search for them.

class MainLoop {
 public:
  /// What follows a pass.
  enum class Next { anotherPass, end };

  MainLoop(const Services& services, const Log& log, const Application& application)
      : services_(services),
        log_(log),
        controller_(application.controller),
        wakeScheduling_(services.wakeEvents, services.fileManager, application.agent, log) {}

  /// Serves the current minute. Then sleeps into the next one if something is due in it, or else sets the wake event
  /// and waits out the throttle interval.
  Next pass() {
    services_.calendar.update();
    const Instant now = services_.clock.now();
    log_.info("Looking for schedules that run at " + date(now));
    const auto lines = readCrontabLines(services_.commands);
    const auto matches = matchingSchedules(lines, now, services_.calendar, services_.commands, services_.output);
    log_.info("Found " + std::to_string(matches.size()) + " matching schedules.");

    for (const auto& match : matches) launchController(match);
    wakeScheduling_.cancelExisting();
    return stayOrSetWake(lines, now);
  }

 private:
  void launchController(const util::URL& match) {
    log_.info("Spawning " + match.path());
    services_.commands.start(controller_, {match.absoluteString()});
  }

  /// Both next events are counted from the minute that this pass has served, not from the clock: what is due in the
  /// minute after it is found even if the work has taken until then.
  Next stayOrSetWake(const std::vector<CrontabLine>& lines, Instant now) {
    const auto first = nextEventDate(lines, now + 1min, services_.calendar);
    if (!first) return Next::end;
    // Only an event in the coming minute can differ from the one after it.
    const bool isInComingMinute = *first < minuteOf(now + 2min, services_.calendar).start;
    const auto second = isInComingMinute ? nextEventDate(lines, now + 2min, services_.calendar) : first;
    if (!second) return Next::end;
    log_.info("Checking one " + date(*first) + " and two " + date(*second) + " minute events.");
    if (first != second) {
      sleepUntilAfterMinuteOf(now);
      return Next::anotherPass;
    }
    return setWakeAndWait(*first);
  }

  Next setWakeAndWait(Instant event) {
    log_.info("Next event more than 1 minute from now, setting wake, then sleeping " + inSeconds(throttleInterval) +
              " for launchd ThrottleInterval.");
    wakeScheduling_.set(event, services_.calendar);
    services_.clock.sleep(throttleInterval);
    // If the machine was suspended meanwhile, the event has woken it, but its start has been merged into this run. The
    // hardware clock can wake the machine a second early.
    const bool eventHasCome = services_.clock.now() + 1s >= event;
    return eventHasCome ? Next::anotherPass : Next::end;
  }

  void sleepUntilAfterMinuteOf(Instant served) {
    const Instant start = minuteOf(served, services_.calendar).start;
    sleepUntilAfterMinute(start);
    // The clock may have been set back during the sleep. What it shows once more has been served.
    const auto showsServedMinute = [&] {
      const Instant now = services_.clock.now();
      return start <= now && now < start + 1min;
    };
    while (showsServedMinute()) sleepUntilAfterMinute(start);
  }

  /// Sleeps until one second past the minute that begins at `start`, or not at all if that time has come. If the clock
  /// has been set back to an earlier minute, that minute counts instead.
  void sleepUntilAfterMinute(Instant start) {
    const Instant now = services_.clock.now();
    const Instant earlier = std::min(start, minuteOf(now, services_.calendar).start);
    const seconds duration = std::max(earlier + 61s - now, 0s);
    log_.info("Sleeping for " + inSeconds(duration) + ".");
    services_.clock.sleep(duration);
  }

  std::string date(Instant instant) const { return util::dateText(instant, services_.calendar); }

  const Services& services_;
  const Log& log_;
  std::filesystem::path controller_;
  WakeScheduling wakeScheduling_;
};

}  // namespace

int run(const Services& services) {
  const Log log = LogFactory::helper("ztbackupbytime", services.logSinks);
  const auto application = findApplication(services.applications, log);
  if (!application) return 1;

  log.info("Creating power assertion.");
  const auto assertion = services.powerAssertions.create("PreventUserIdleSystemSleep", "ztbackupbytime Prompt Wake",
                                                         "Zantrove! time-based scheduled copy check.");
  log.info("Power asssertion created - createdAssertion = " + std::to_string(assertion.result));

  MainLoop loop(services, log, *application);
  while (loop.pass() == MainLoop::Next::anotherPass) {
  }

  log.info("Heading out, canceling power assertion.");
  if (assertion.result == 0) services.powerAssertions.release(assertion.identifier);
  return 0;
}

}  // namespace zt
