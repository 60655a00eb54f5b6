#include "ztschedules/views.h"

#include "support/test.h"

/// Entries in New York at the first 01:30:20 of the day on which that comes twice.
struct Views : testing::Test {
  const Zone zone{"America/New_York"};
  const Instant now = at("2027-11-07 01:30:20 -0400");
  const std::string japanese = "%E6%97%A5%E6%9C%AC%E8%AA%9E";  // 日本語
  const std::vector<ScheduleEntry> entries =
      readScheduleEntries(lineText("30 9 15-21 * 1", "/ZTUtil file:///" + japanese + japanese + japanese + japanese) +
                              "\n*/5 * * * * other\n\n" + lineText("30 1 * * 1-5,0", "/ZTUtil file:///Documents") +
                              "\n" + lineText("30 1 15 6 *", "/É/ZTUtil file:///Mid") + "\n",
                          now, zone.calendar);
};

TEST_F(Views, ShowTables) {
  EXPECT_EQ(nextRunsView(entries, {}, now, zone.calendar, {.columns = 72}),
            "NEXT                      LEFT    SCHEDULE            COPY\n"
            "Sun 2027-11-07 01:30 EDT  now     Mon, Fri and Sun    Documents\n"
            "                                  at 01:30\n"
            "Mon 2027-11-15 09:30 EST  8 days  3rd Monday of the   日本語日本語日本語\n"
            "                                  month at 09:30      日本語\n");
  EXPECT_EQ(runsView(entries, 3, now, zone.calendar, {}),
            "NEXT                      LEFT   SCHEDULE                   COPY\n"
            "Sun 2027-11-07 01:30 EDT  now    Mon, Fri and Sun at 01:30  Documents\n"
            "Sun 2027-11-07 01:30 EST  59min  Mon, Fri and Sun at 01:30  Documents\n"
            "Mon 2027-11-08 01:30 EST  1 day  Mon, Fri and Sun at 01:30  Documents\n");
  EXPECT_EQ(nextRunView(entries), "1825565400\n");
  EXPECT_TRUE(
      runsView(entries, 1, now, zone.calendar, {.columns = {}, .hasColor = true}).ends_with("Documents\x1b[0m\n"));
  EXPECT_EQ(problemsView(entries, {}),
            "LINE  COPY       PROBLEM\n"
            "4     Documents  warning: day of week 1-5,0 means only Monday, Friday and Sunday: list "
            "each day, as in 1,2,3 (Sunday is 0)\n"
            "5     Mid        day of month 15 matches no day: use 1-7, 8-14, 15-21 or 22-31\n"
            "5     Mid        warning: month 6 is ignored: the schedule runs in every month\n");
}

TEST_F(Views, ShowAMonth) {
  EXPECT_EQ(monthView(entries, std::chrono::year{2027} / 11, zone.calendar, {}),
            "       November 2027\n"
            " Mo  Tu  We  Th  Fr  Sa  Su\n"
            "  1*  2   3   4   5*  6   7*\n"
            "  8*  9  10  11  12* 13  14*\n"
            " 15* 16  17  18  19* 20  21*\n"
            " 22* 23  24  25  26* 27  28*\n"
            " 29* 30\n"
            "\n"
            "dd* a day on which copies are due: 15 on 13 days\n");
  const auto skipped = readScheduleEntries(lineText("30 2 8-14 * 0"), now, zone.calendar);
  EXPECT_NE(monthView(skipped, std::chrono::year{2027} / 3, zone.calendar, {.columns = {}, .hasColor = true})
                .find("due: 0 on 0 days"),
            std::string::npos);
  EXPECT_NE(monthView(skipped, std::chrono::year{2027} / 2, zone.calendar, {.columns = {}, .hasColor = true})
                .find(" 13  \x1b[1;32m14\x1b[0m\n"),
            std::string::npos);
}

TEST_F(Views, ShowJson) {
  EXPECT_EQ(jsonView(std::span(entries).subspan(1), {}, zone.calendar), R"json([
  {
    "lineNumber": 4,
    "line": "30\t1\t*\t*\t1-5,0\t/ZTUtil file:///Documents",
    "copy": "Documents",
    "due": true,
    "next": 1825565400,
    "nextLocal": "2027-11-07T01:30:00-04:00",
    "schedule": "Mon, Fri and Sun at 01:30",
    "last": null,
    "lastResult": null,
    "problem": null,
    "warning": "day of week 1-5,0 means only Monday, Friday and Sunday: list each day, as in 1,2,3 (Sunday is 0)"
  },
  {
    "lineNumber": 5,
    "line": "30\t1\t15\t6\t*\t/\u00c9/ZTUtil file:///Mid",
    "copy": "Mid",
    "due": false,
    "next": null,
    "nextLocal": null,
    "schedule": "never",
    "last": null,
    "lastResult": null,
    "problem": "day of month 15 matches no day: use 1-7, 8-14, 15-21 or 22-31",
    "warning": "month 6 is ignored: the schedule runs in every month"
  }
]
)json");
}

TEST_F(Views, ShowWhichCopiesAreMadeTwice) {
  const auto crontab = lineText("0 5 * * 1,2", "ZTUtil file:///a") + "\n" +
                       lineText("0 5 * * 1,2", "ZTUtil file:///b") + "\n" + lineText("0 5 * * *", "ZTUtil file:///a") +
                       "\n" + lineText("+0 5 * * 2,1", "/ZTUtil \"file:///a\"") + "\n";
  EXPECT_EQ(problemsView(readScheduleEntries(crontab, now, zone.calendar), {}),
            "LINE  COPY  PROBLEM\n"
            "4     a     warning: line 1 makes the same copy at the same times: it is made twice\n");
  const auto twice = lineText("0 5 * 6 *", "ZTUtil file:///a") + "\n" + lineText("0 5 * 6 *", "ZTUtil file:///a/");
  EXPECT_EQ(readScheduleEntries(twice, now, zone.calendar).at(1).diagnostics.warning,
            "month 6 is ignored: the schedule runs in every month; line 1 makes the same copy at the same times: it is "
            "made twice");
}

TEST_F(Views, LeaveOutWhatMakesNoCopy) {
  const auto line = lineText("0 5 * * *", "ZTUtil a(") + "\n";
  const auto bad = readScheduleEntries(line + line, now, zone.calendar);
  EXPECT_EQ(nextRunsView(bad, {}, now, zone.calendar, {}), "No schedule makes a copy.\n");
  EXPECT_EQ(nextRunView(bad), "");
  EXPECT_NE(
      monthView(bad, std::chrono::year{2027} / 11, zone.calendar, {.columns = 3}).find(" copies\n    are due: 0 on"),
      std::string::npos);
  EXPECT_NE(problemsView(bad, {.columns = {}, .hasColor = true}).find("\x1b[31m1 "), std::string::npos);
  EXPECT_FALSE(bad.at(1).diagnostics.warning);
}

TEST_F(Views, ShowOnlyOneErrorIfTheTextIsNotUtf8) {
  const auto broken = readScheduleEntries(lineText("0 5 * * *") + "\n\n# ZTUtil \xff\n", now, zone.calendar);
  ASSERT_EQ(broken.size(), 1U);
  EXPECT_EQ(broken[0].diagnostics.error, "line 3 is not UTF-8, so no line is read");
  EXPECT_FALSE(broken[0].schedule.canFire());
  EXPECT_FALSE(broken[0].next);
  EXPECT_EQ(readScheduleEntries("# x\r\n" + lineText("0 5 * * *"), now, zone.calendar).size(), 1U) << "CR LF";
}
