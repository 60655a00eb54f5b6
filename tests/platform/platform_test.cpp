#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <map>

#include "platform/linux/agent_wake_events.h"
#include "platform/linux/system_applications.h"
#include "support/fakes.h"
#include "support/zone.h"

namespace zt {

using namespace platform;
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace std::string_literals;

TEST(Applications, AreBundlesByTheirPropertyList) {
  std::string name = testing::TempDir() + "zt.XXXXXX";
  const fs::path folder = ::mkdtemp(name.data());
  const auto bundle = [&](const char* path, const std::string& identifier) {
    fs::create_directories(folder / path / "Contents");
    std::ofstream(folder / path / "Contents/Info.plist")
        << "<plist><dict><key>CFBundleExecutable</key><string>Main</string>"
        << "<key>CFBundleIdentifier</key>" << identifier << "</dict></plist>";
  };
  const std::string ours = "<string>com.velmorra.Zantrove</string>";
  bundle("one/A.app", "<string>com.velmorra.Other</string>");
  bundle("one/B.app", "no property list");
  bundle("one/C.app", "<true/>");
  bundle("one/D.other", ours);
  fs::create_directories(folder / "one/E.app/Contents");
  ASSERT_EQ(::mkfifo((folder / "one/E.app/Contents/Info.plist").c_str(), 0600), 0) << "must not block";
  bundle("one/F.app", "<string>a\0b</string>"s);
  bundle("one/G.app", ours + std::string(std::size_t{256} * 1024, ' '));  // larger than is read
  bundle("two/Y.app", ours);
  bundle("two/X.app", ours);
  const SystemApplications applications({folder / "missing", folder / "one", folder / "two"});
  EXPECT_EQ(applications.installed("com.velmorra.Zantrove"), folder / "two/X.app");
  EXPECT_EQ(applications.installed("com.velmorra.None"), std::nullopt);
  fs::remove_all(folder);
}

TEST(AgentWakeEvents, AreCancelledByWhatAProgramCanBeGiven) {
  FakeCommands commands{};
  const FakeFileManager fileManager;
  AgentWakeEvents wakeEvents(commands, fileManager);
  for (const auto& when : {"01/02/2030 \0"s, "01/02/2030 03:04:05"s, std::string(200'000, '1')}) {
    wakeEvents.cancel("/ZTAgent", when);
  }
  EXPECT_EQ(commands.commands, Texts{"/ZTAgent cancel"});
}

TEST(SystemCalendar, FindsEveryOffsetThatHoldsForThreeHoursOrIsOffByADay) {
  std::vector<std::string> rules = {"AAA-12BBB12,J100/12,J102/12", "AAA12BBB-12,J98/12,J100/12"};
  for (const int shift : {-3, -1, 1, 3}) {
    for (int start = 0; start < 180; start += 20) {
      const auto time = [&](int hour) { return std::to_string(hour) + ":" + std::to_string(start % 60); };
      const int from = 10 + start / 60;
      // Each side is that of the clock as it is then.
      rules.push_back("AAA0BBB" + std::to_string(-shift) + ",J100/" + time(from) + ",J100/" + time(from + 3 + shift));
    }
  }
  SystemCalendar calendar;
  for (const auto& rule : rules) {
    const Zone zone(rule.c_str());
    calendar.update();
    std::map<LocalTime, std::vector<Instant>> shown;
    for (auto instant = at("2027-04-08 00:00 +0000"); instant < at("2027-04-13 00:00 +0000"); instant += 10min) {
      shown[zone.calendar.localTime(instant)].push_back(instant);
    }
    for (LocalTime local = std::chrono::local_days{2027y / 4 / 9}; local < std::chrono::local_days{2027y / 4 / 12};
         local += 10min) {
      ASSERT_EQ(calendar.instants(local), shown[local]) << rule << " at " << local.time_since_epoch().count();
    }
  }
}

}  // namespace
}  // namespace zt
