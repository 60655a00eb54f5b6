#include "driver/run.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "discovery/crontab_reader.h"
#include "discovery/due_schedules.h"
#include "logging/log_factory.h"
#include "schedules/next_event.h"
#include "schedules/wall_time.h"
#include "util/text.h"
#include "util/time_text.h"

namespace zt {
namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;

/// How long a run waits before it exits, once it has set the wake event. Some service managers treat a job that ends
/// sooner as failed, and delay its next start.
constexpr seconds throttleInterval = 10s;

std::string inSeconds(seconds duration) {
  return std::to_string(duration.count()) + " seconds";
}

// The log messages are fixed, spelling included: people and programs search for them.

/// What people call a copy: the last name of its path. The whole URL if that leaves nothing that can be printed.
std::string copyName(const util::URL& url) {
  const auto names = url.pathComponents();
  return !names.empty() && util::isPrintable(names.back()) ? names.back() : url.absoluteString();
}

class MainLoop {
 public:
  MainLoop(const Services& services, const Log& log, const Application& application)
      : services_(services),
        log_(log),
        controller_(application.controller),
        wakeScheduling_(services.wakeEvents, services.fileManager, application.agent, log) {}

  void run() {
    while (pass()) {
    }
  }

 private:
  struct Time {
    Instant wallClock;
    LocalTime local;
    platform::Clock::Uptime up;
  };
  Time time() const {
    const Instant now = services_.clock.now();
    return {now, services_.calendar.localTime(now), services_.clock.uptime()};
  }

  /// Handles the current minute, or the next one that this run has not served yet. Then sleeps into the one after it
  /// if something is due in it; otherwise sets the wake event and waits for the throttle interval. Does neither if the
  /// crontab cannot be read, no schedule can fire, or the time of the event has come. Returns whether there must be
  /// another pass.
  bool pass() {
    const Time began = timeInUnservedMinute();
    log_.info("Looking for schedules that run at " + date(began.wallClock));
    const auto lines = readCrontabLines(services_.commands);
    // Without the crontab nobody knows what is due. The wake event stays: crontab may work again when it comes. If it
    // has come in a later minute than this pass has looked at, only this run can serve it.
    if (!lines) return mustLookAgain(began, minuteOf(began.wallClock + 1min, services_.calendar).start);
    const auto matches =
        matchingSchedules(*lines, began.wallClock, services_.calendar, services_.commands, services_.output);
    log_.info("Found " + std::to_string(matches.size()) + " matching schedules.");

    if (!matches.empty()) served_.push_back(minuteOf(began.wallClock, services_.calendar));
    for (const auto& match : matches) launchController(match);
    wakeScheduling_.cancelExisting();
    return stayOrSetWake(*lines, began);
  }

  /// The time, in the machine's current time zone. Sleeps first while this is in a minute in which this run has started
  /// copies: the clock was set back, or another pass is needed before the minute is over.
  Time timeInUnservedMinute() {
    for (;;) {
      services_.calendar.update();
      const Time now = time();
      const Minute minute = minuteOf(now.wallClock, services_.calendar);
      if (std::ranges::find(served_, minute) == served_.end()) return now;
      sleepToEndOfMinute(minute.start);
    }
  }

  void launchController(const util::URL& match) {
    log_.info("Spawning " + match.path());
    services_.commands.start({controller_, {match.absoluteString()}}, "Copy of " + copyName(match));
  }

  /// The next events are searched from the minute that this pass has handled, not from the clock. So after a pass that
  /// took long, what is due in the minute that has begun meanwhile is handled as well.
  bool stayOrSetWake(const std::vector<CrontabLine>& lines, const Time& passBegan) {
    const Instant now = passBegan.wallClock;
    const auto first = nextEventDate(lines, now + 1min, services_.calendar);
    if (!first) return mustLookAgain(passBegan, Instant::max());
    // An event after the coming minute is the next one from two minutes ahead as well.
    const bool isInComingMinute = *first < minuteOf(now + 2min, services_.calendar).start;
    const auto second = isInComingMinute ? nextEventDate(lines, now + 2min, services_.calendar) : first;
    if (!second) return false;
    log_.info("Checking one " + date(*first) + " and two " + date(*second) + " minute events.");
    if (first == second) return setWakeAndWait(passBegan, *first);
    sleepToEndOfMinute(minuteOf(now, services_.calendar).start);
    return true;
  }

  bool setWakeAndWait(const Time& passBegan, Instant event) {
    // The hardware clock can wake the machine a second early. And what comes as this run exits is lost.
    const Instant earliest = event - 1s;
    // Programs that hang can make a pass take minutes.
    if (services_.clock.now() >= earliest) return true;
    log_.info("Next event more than 1 minute from now, setting wake, then sleeping " + inSeconds(throttleInterval) +
              " for launchd ThrottleInterval.");
    wakeScheduling_.set(event, services_.calendar);
    const auto end = services_.clock.uptime().total + throttleInterval;
    bool isOver = false;
    while (!mustLookAgain(passBegan, earliest)) {
      if (isOver) return false;
      isOver = services_.clock.sleep(ceil<seconds>(end - services_.clock.uptime().total));
    }
    return true;
  }

  /// Whether there must be another pass: the clock has reached `instant`, or since this pass began, the machine was
  /// suspended or the local time set forward, by its clock or its zone. The service manager starts no run beside this
  /// one, so an event that comes during this run is served by it or not at all. It can be another event than the one
  /// that this run knows: the crontab, the clock or the zone may have been changed, and the event may have woken the
  /// machine. And a local time that is set forward may have reached a minute that is due.
  bool mustLookAgain(const Time& passBegan, Instant instant) const {
    services_.calendar.update();
    const Time now = time();
    const auto passed = now.up.total - passBegan.up.total;
    const bool wasSuspended = passed - (now.up.awake - passBegan.up.awake) > 100ms;
    const bool isSetForward = now.local - passBegan.local - passed > 1s;  // both local times are rounded down
    return now.wallClock >= instant || wasSuspended || isSetForward;
  }

  /// Sleeps until one second past the minute that begins at `start`, or not at all if that time has come. If the clock
  /// has been set back to an earlier minute, until one second past that one.
  void sleepToEndOfMinute(Instant start) {
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
  /// The minutes in which this run has started copies. In another time zone, the same instant is in another minute.
  std::vector<Minute> served_;
};

}  // namespace

Log toolLog(const platform::LogSinks& sinks) {
  return LogFactory::helper("ztbackupbytime", sinks);
}

int run(const Services& services) {
  const Log log = toolLog(services.logSinks);
  const auto application = findApplication(services.applications, log);
  if (!application) return 1;

  log.info("Creating power assertion.");
  const auto assertion = services.powerAssertions.create("PreventUserIdleSystemSleep", "ztbackupbytime Prompt Wake",
                                                         "Zantrove! time-based scheduled copy check.");
  log.info("Power asssertion created - createdAssertion = " + std::to_string(assertion.result));

  MainLoop(services, log, *application).run();

  log.info("Heading out, canceling power assertion.");
  if (assertion.result == 0) services.powerAssertions.release(assertion.identifier);
  return 0;
}

}  // namespace zt
