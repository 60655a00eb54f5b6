#include "platform/linux/system_calendar.h"

#include <map>

#include "support/test.h"

TEST(SystemCalendar, FindsOffsetsOfThreeHoursAndChangesByADay) {
  std::vector<std::string> rules = {"AAA-12BBB12,J100/12,J102/12", "AAA12BBB-12,J98/12,J100/12"};
  for (const int shift : {-3, -1, 1, 3}) {
    for (int start = 0; start < 180; start += 20) {
      const auto time = [&](int hour) { return std::to_string(hour) + ":" + std::to_string(start % 60); };
      const int from = 10 + start / 60;
      // Each time is that of the clock before the change.
      rules.push_back("AAA0BBB" + std::to_string(-shift) + ",J100/" + time(from) + ",J100/" + time(from + 3 + shift));
    }
  }
  platform::SystemCalendar calendar;
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
