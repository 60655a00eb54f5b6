#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/linux/journal_log.h"
#include "platform/linux/process_setup.h"
#include "platform/linux/sleep_watch.h"
#include "platform/linux/system_calendar.h"
#include "platform/linux/system_clock.h"
#include "platform/linux/systemd_user_manager.h"
#include "util/task_commands.h"
#include "ztagent/agent.h"

namespace {

using namespace std::chrono_literals;
using namespace zt::platform;

constexpr auto* usage = R"(usage: ZTAgent wake "MONTH/DAY/YEAR HOUR:MINUTE:SECOND"
       ZTAgent cancel "MONTH/DAY/YEAR HOUR:MINUTE:SECOND"
       ZTAgent sched
       ZTAgent arm [--until-asleep]
       ZTAgent --version

  wake    has the machine wake at that local time and start ztbackupbytime.service
  cancel  takes that back
  sched   lists what is set, one line each: [0] wake at 03/05/2027 07:03:00 by 'ZTAgent'
  arm     has the machine wake for the next schedule in the crontab, if that is not set;
          with --until-asleep again and again, until the machine has slept, but for 15 seconds at most

It ends with status 0, with 1 and a message when it could not do it, or with 2 when it is called wrongly.
)";

/// Whoever starts the agent may not keep its output. If no person sits in front of it, the message goes to the journal
/// as well, among the entries of the service.
void report(std::string message, LogLevel level) {
  std::ranges::replace_if(
      message, [](unsigned char character) { return std::iscntrl(character) != 0; }, ' ');
  std::cerr << "ZTAgent: " << message << '\n';
  if (::isatty(STDERR_FILENO) != 0) return;
  if (auto journal = JournalLog::find("ztbackupbytime.service"))
    journal->write(level, "com.velmorra.Zantrove.Helpers", "ZTAgent", message);
}

/// The machine waits for the first time only. Until it is asleep, each run that begins cancels the event, and sets none
/// if it stays for the next minute. The crontab can change as well.
void armUntilAsleep(zt::Agent& agent) {
  auto event = agent.arm();
  notifyReady();
  const SleepWatch watch(15s);
  constexpr int looksPerReading = 25;  // at the wake events, for each one of the crontab, which is logged
  std::optional<zt::AgentFailure> failure;
  for (int look = 1; watch.pause(20ms); ++look) {
    try {
      failure.reset();
      if (look % looksPerReading == 0) {
        event = agent.arm();
      } else if (event) {
        agent.arm(*event);
      }
    } catch (const zt::AgentFailure& thisFailure) {
      failure = thisFailure;  // a run can have cancelled the event that was just being set: look again
    }
  }
  if (failure) throw zt::AgentFailure(*failure);
}

/// Gives whether the arguments are right.
bool carryOut(zt::Agent& agent, std::span<char*> arguments) {
  const std::string verb = arguments.empty() ? "" : arguments[0];
  if (arguments.size() == 2 && verb == "wake") {
    agent.wake(arguments[1]);
  } else if (arguments.size() == 2 && verb == "cancel") {
    agent.cancel(arguments[1]);
  } else if (arguments.size() == 1 && verb == "sched") {
    for (const auto& line : agent.list()) std::cout << line << '\n';
  } else if (arguments.size() == 1 && verb == "arm") {
    agent.arm();
  } else if (arguments.size() == 2 && verb == "arm" && arguments[1] == std::string_view("--until-asleep")) {
    armUntilAsleep(agent);
  } else if (arguments.size() == 1 && (verb == "--help" || verb == "-h")) {
    std::cout << usage;
  } else if (arguments.size() == 1 && verb == "--version") {
    std::cout << "ZTAgent " VERSION "\n";
  } else {
    return false;
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  setUpProcess();
  const SystemClock clock;
  const SystemCalendar calendar;
  // For crontab, before the machine sleeps: that does not wait long.
  zt::util::TaskCommands commands({.awakeTime = 2s, .bytes = std::size_t{16} * 1024 * 1024},
                                  [](const std::string& line) { report(line, LogLevel::error); });
  SystemdUserManager serviceManager(20s);  // shorter than a run of the tool waits for the agent
  zt::Agent agent({.clock = clock, .calendar = calendar, .commands = commands, .serviceManager = serviceManager});
  try {
    if (carryOut(agent, std::span(arguments, static_cast<std::size_t>(count)).subspan(1))) return 0;
    std::cerr << usage;
    return 2;
  } catch (const zt::AgentFailure& failure) {
    report(failure.what(), failure.level);
  } catch (const ServiceManagerError& error) {
    report(std::string("systemd does not list its timers. ") + error.what(), LogLevel::error);
  }
  return 1;
}
