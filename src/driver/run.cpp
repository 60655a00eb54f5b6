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

/// Service managers take a job that ends within this time of its start for a failing one, and hold back its
/// next start.
constexpr seconds throttleInterval = 10s;

std::string inSeconds(seconds duration) {
  return std::to_string(duration.count()) + " seconds";
}

// The texts of the log are fixed, spelling included: people and programs search for them.

class MainLoop {
 public:
  MainLoop(const Services& services, const Log& log, const Application& application)
      : services_(services),
        log_(log),
        controller_(application.controller),
        wakeScheduling_(services.wakeEvents, services.fileManager, application.agent, log) {}

  /// Serves the current minute. Then it sleeps into the next one, or sets the wake event and waits out the throttle
  /// interval. Gives whether another pass is to be made: always after the former, after the latter only where the event
  /// has come meanwhile.
  bool pass() {
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

  /// Both looks ahead start from the minute that this pass has served, not from the clock: what is due in
  /// the minute after it is seen even where the work has gone on into that.
  bool stayOrSetWake(const std::vector<CrontabLine>& lines, Instant now) {
    const auto first = nextEventDate(lines, now + 1min, services_.calendar);
    if (!first) return false;
    // Only an event in the coming minute hides a later one. Any other is what both looks find.
    const bool isInComingMinute = *first < minuteOf(now + 2min, services_.calendar).start;
    const auto second = isInComingMinute ? nextEventDate(lines, now + 2min, services_.calendar) : first;
    if (!second) return false;
    log_.info("Checking one " + date(*first) + " and two " + date(*second) + " minute events.");
    if (first != second) {
      sleepUntilAfterMinuteOf(now);
      return true;
    }
    log_.info("Next event more than 1 minute from now, setting wake, then sleeping " + inSeconds(throttleInterval) +
              " for launchd ThrottleInterval.");
    wakeScheduling_.set(*first, services_.calendar);
    services_.clock.sleep(throttleInterval);
    // A machine that was put to sleep meanwhile is woken by that event, which starts no second run beside this one. The
    // clock may ring a second early.
    return services_.clock.now() + 1s >= *first;
  }

  /// Sleeps until one second past the minute of `served`, or not at all where the work has taken that
  /// long. Where the clock was set back to an earlier minute meanwhile, it is that minute that ends.
  void sleepUntilAfterMinuteOf(Instant served) {
    const auto start = minuteOf(served, services_.calendar).start;
    Instant current = services_.clock.now();
    // A clock that is set back while we sleep shows the same minute again: it has been served.
    do {
      const auto elapsed = current - std::min(start, minuteOf(current, services_.calendar).start);
      const auto duration = std::max(61s - elapsed, 0s);
      log_.info("Sleeping for " + inSeconds(duration) + ".");
      services_.clock.sleep(duration);
      current = services_.clock.now();
    } while (current >= start && current < start + 1min);
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
  while (loop.pass()) {
  }

  log.info("Heading out, canceling power assertion.");
  if (assertion.result == 0) services.powerAssertions.release(assertion.identifier);
  return 0;
}

}  // namespace zt
