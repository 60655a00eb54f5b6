// journal ENTRIES: prints so many entries of a journal in the Journal Export Format, for systemd-journal-remote(8). The
// last one is of now. Most are of runs of the tool, one after the other, and the others of something else.

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

using namespace std::chrono_literals;
using Time = std::chrono::sys_time<std::chrono::microseconds>;

constexpr auto period = 70s;          // from one run to the next
constexpr int entriesOfRun = 12;      // that the tool logs
constexpr int entriesPerPeriod = 20;  // of all

std::string messageOf(int entry, Time time) {
  static constexpr std::array<const char*, entriesOfRun> messages = {
      "Looking for Zantrove!",
      "Using Zantrove! from /Applications/Zantrove.app",
      "Automated Copy Controller path is /x",
      "Creating power assertion.",
      "Power asssertion created - createdAssertion = 0",
      nullptr,
      "Found 0 matching schedules.",
      "Canceling any existing wake events.",
      "Checking one and two minute events.",
      "Next event more than 1 minute from now, setting wake, then sleeping 10 seconds for launchd ThrottleInterval.",
      "Heading out, canceling power assertion.",
      "Something else"};
  if (const auto* message = messages.at(static_cast<std::size_t>(entry))) return message;
  const std::time_t seconds = std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
  std::array<char, 64> text;
  return {text.data(), std::strftime(text.data(), text.size(), "Looking for schedules that run at %F %T +0000",
                                     std::gmtime(&seconds))};
}

void print(Time time, Time start, const std::string& fields) {
  std::printf("__REALTIME_TIMESTAMP=%lld\n__MONOTONIC_TIMESTAMP=%lld\n_BOOT_ID=%s\n_TRANSPORT=journal\n%s\n\n",
              static_cast<long long>(time.time_since_epoch().count()),
              static_cast<long long>((time - start + 1s) / 1us), "0123456789abcdef0123456789abcdef", fields.c_str());
}

}  // namespace

int main(int count, char** arguments) {
  const int entries = count == 2 ? std::atoi(arguments[1]) : 0;
  const auto runs = entries / entriesPerPeriod;
  const auto start = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now()) - runs * period;
  const std::string user = "_UID=" + std::to_string(::getuid());
  for (int run = 0; run < runs; ++run) {
    const Time begin = start + run * period;
    const auto process = "\n_PID=" + std::to_string(1000 + run % 30000);
    for (int i = 0; i < entriesPerPeriod; ++i) {
      const Time time = begin + i * 1ms;
      if (i < entriesOfRun) {
        print(time, start,
              user + process +
                  "\nSYSLOG_IDENTIFIER=ztbackupbytime\nUSER_UNIT=ztbackupbytime.service\n"
                  "CATEGORY=ztbackupbytime\nMESSAGE=" +
                  messageOf(i, time));
      } else {
        print(time + 20s, start,
              "_UID=0\n_PID=2\nSYSLOG_IDENTIFIER=other\nMESSAGE=number " + std::to_string(run) + " of another program");
      }
    }
  }
}
