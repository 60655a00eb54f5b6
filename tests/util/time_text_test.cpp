#include "util/time_text.h"

#include "support/test.h"

TEST(TimeText, IsReadAsALocalTimeOrAsSecondsSince1970) {
  const Zone newYork("America/New_York");
  const auto read = [&](const char* text) { return rfc3339(readTime(text, newYork.calendar), newYork.calendar); };
  EXPECT_EQ(read("1805000000"), "2027-03-13T23:53:20-05:00");
  EXPECT_EQ(read("2027-03-14 01:59"), "2027-03-14T01:59:00-05:00");
  EXPECT_EQ(read("2027-03-14T03:00:59"), "2027-03-14T03:00:59-04:00");
  EXPECT_EQ(read("2027-11-07 01:30"), "2027-11-07T01:30:00-04:00") << "the first of a repeated time";
  EXPECT_EQ(read("2027-03-14"), "2027-03-14T00:00:00-05:00");
  const Zone santiago("America/Santiago");
  EXPECT_EQ(rfc3339(readTime("2027-09-05", santiago.calendar), santiago.calendar), "2027-09-05T01:00:00-03:00")
      << "the clocks skip midnight";
  for (const auto* bad :
       {"", "now", "-1", "253370764800", "2027-03-14 01", "2027-03-14 01:00x", "2027-03-14 02:30", "2027-02-29 01:00",
        "2027-03-14 24:00", "1969-12-31 01:00", "9999-01-01 00:00", "2027-03-14 01:00:60"}) {
    EXPECT_THROW(readTime(bad, newYork.calendar), std::invalid_argument) << bad;
  }
}

TEST(TimeText, IsReadAsAMonth) {
  EXPECT_EQ(readMonth("1970-01"), std::chrono::year{1970} / 1);
  EXPECT_EQ(readMonth("9998-12"), std::chrono::year{9998} / 12);
  for (const auto* bad : {"", "2027", "2027-13", "1969-12", "9999-01", "2027-03-01"}) {
    EXPECT_THROW(readMonth(bad), std::invalid_argument) << bad;
  }
}

TEST(TimeText, ShowsLocalTimesAtAnyOffset) {
  const Zone odd("ODD+1:02:03");
  EXPECT_EQ(rfc3339(at("2027-03-14 01:00 +0000"), odd.calendar), "2027-03-13T23:58:00-01:02");
  EXPECT_EQ(timeText(at("2027-03-14 01:02:03 +0000"), odd.calendar), "Sun 2027-03-14 00:00 ODD");
  EXPECT_EQ(wakeTimeText(at("2027-03-05 08:05 +0000"), odd.calendar), "3/5/2027 7:2:00");
  EXPECT_EQ(rfc3339(Instant{}, Zone("DAY24").calendar), "1969-12-31T00:01:00-23:59");
}

TEST(TimeText, ShowsTheTimeLeftRoundedDown) {
  const std::vector<std::pair<std::chrono::seconds, const char*>> rows = {
      {-59s, "now"},        {0s, "now"},    {59s, "59s"},       {119s, "1min"},  {60min, "1h"},
      {135min, "2h 15min"}, {24h, "1 day"}, {47h, "1 day 23h"}, {48h, "2 days"}, {71h + 59min, "2 days"},
  };
  for (const auto& [left, text] : rows) EXPECT_EQ(timeLeft(left), text);
}
