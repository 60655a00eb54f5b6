#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <stdexcept>

#include "support/zone.h"
#include "util/time_text.h"
#include "ztschedules/copy_url.h"
#include "ztschedules/diagnostics.h"
#include "ztschedules/schedule_description.h"
#include "ztschedules/schedule_entry.h"
#include "ztschedules/terminal_text.h"
#include "ztschedules/views.h"

namespace zt {
namespace {

using namespace util;

using namespace std::chrono_literals;

/// A line whose fields are written with bars between them, for the eye.
std::string tabbed(std::string fields) {
  std::ranges::replace(fields, '|', '\t');
  return fields;
}

TEST(Words, SayWhenALineFires) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"0|5|*|*|*", "every day at 05:00"},
      {"0|5|*|*|0,1,2,3,4,5,6", "every day at 05:00"},
      {"+5|0|1-7,8-14,15-21,22-31|*|*", "every day at 00:05"},
      {"30|9|15-21|*|1", "3rd Monday of the month at 09:30"},
      {"45|6|*|*|5,1", "Mon and Fri at 06:45"},
      {"45|6|*|*|0", "every Sunday at 06:45"},
      {"45|6|*|*|1,2,3,4,5", "Mon to Fri at 06:45"},
      {"45|6|*|*|0,5,6", "Fri to Sun at 06:45"},
      {"45|6|*|*|0,1,6", "Mon, Sat and Sun at 06:45"},
      {"59|23|22-31|*|0", "4th and 5th Sunday of the month at 23:59"},
      {"59|23|1-7,22-31|*|0,6", "1st, 4th and 5th Sat and Sun of the month at 23:59"},
      {"0|5|1-7,15-21|*|*", "days 1-7 and 15-21 of the month at 05:00"},
      {"0|5|22-31|*|*", "days 22-31 of the month at 05:00"},
      {"0|5|1-7,8-14,22-31|*|1", "1st, 2nd, 4th and 5th Monday of the month at 05:00"},
      {"60|5|*|*|*", "never"},
  };
  for (const auto& [fields, words] : rows) {
    EXPECT_EQ(describe(parse(CrontabLine(tabbed(fields) + "\t/ZTUtil x"))), words) << fields;
  }
}

TEST(Words, NameTheCopy) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"/ZTUtil file:///a/Copy%20Plan/", "Copy%20Plan"},
      {R"(/b/ZTUtil file:///a\ b\'c)", R"(b\'c)"},
      {"/ZTUtil file:///a/b?c/d#e/", "b"},
      {"/ZTUtil name", "name"},
      {"file:///ZTUtil", "ZTUtil"},
      {"/ZTUtil file:///", "file:///"},
      {"/ZTUtil 'file:///a/b/'", "b"},
      {"/ZTUtil ", ""},
  };
  for (const auto& [command, name] : rows) EXPECT_EQ(copyName(CrontabLine(tabbed("0|5|*|*|*|") + command)), name);
}

TEST(Words, SayWhatIsWrong) {
  struct Row {
    const char *line, *problem, *warning;
  };
  const char* none = "";
  const std::vector<Row> rows = {
      {"59|23|1-7,22-31|*|0,6|/ZTUtil file:///a%20b", none, none},
      {"-1|5|*|*|12|/ZTUtil x", "minute -1 is not in the range 0 to 59",
       "day of week 12 means only Monday and Tuesday: list each day, as in 1,2,3 (Sunday is 0)"},
      {"0|5|*|*|7|/ZTUtil x", "day of week 7 matches no day: use 0 (Sunday) to 6 (Saturday)", none},
      {"0|5|*|*|mon|/ZTUtil x", "day of week mon matches no day: use 0 (Sunday) to 6 (Saturday)", none},
      {"*/5|5|*|*|*|/ZTUtil x", "minute */5 is not a single number from 0 to 59: each time needs its own line", none},
      {"0||*|*|*|/ZTUtil x", "hour \"\" is not a single number from 0 to 23", none},
      {"0 |24|*|*|*|/ZTUtil x",
       "minute \"0 \" is not a single number from 0 to 59: remove the blanks; hour 24 is not in the range 0 to "
       "23",
       none},
      {"\x1b[1m|5|*|*|*|/ZTUtil x", "minute \"\\x1b[1m\" is not a single number from 0 to 59", none},
      {"0|5|15|*|*|/ZTUtil x", "day of month 15 matches no day: use 1-7, 8-14, 15-21 or 22-31", none},
      {"0|5|22-28|*|1-5|/ZTUtil x", "day of month 22-28 matches no day: use 1-7, 8-14, 15-21 or 22-31",
       "day of week 1-5 means only Monday and Friday: list each day, as in 1,2,3 (Sunday is 0)"},
      {"0 5 * /ZTUtil", "4 fields, separated by blanks: 6 are needed, separated by single TABs", none},
      {"0 5 ? JAN-Mar monday,0 5 /ZTUtil x", "6 fields, separated by blanks: single TABs are needed", none},
      {"0|5 *|*|*|/ZTUtil x", "6 fields, some separated by blanks: single TABs are needed", none},
      {"0|5|*|*|/ZTUtil x", "5 fields: 6 are needed, separated by single TABs, with no TAB in the command", none},
      {"0||5|*|*|*|/ZTUtil x", "7 fields: 6 are needed, separated by single TABs, with no TAB in the command", none},
      {"you may not use ZTUtil", "1 field: 6 are needed, separated by single TABs, with no TAB in the command", none},
      {"0|5|*|*|*|/ZTUtil x\r\n", "the line ends in CR LF: use LF alone", none},
      {" # 0|5|*|*|*|/ZTUtil x", "commented out: remove \" # \" to enable it", none},
      {"#0|5|*|*|7|/ZTUtil x", "a comment, not a schedule", none},
      {"0|5|*|*|*|/ZTUtil ", "the command does not end in a URL", none},
      {"0|5|*|*|*|/ZTUtil file:///é", "\"file:///é\" is not a URL: percent-encode what a URL cannot contain", none},
      {"0|5|*|*|*|/ZTUtil a\x07", "\"a\\x07\" is not a URL: percent-encode what a URL cannot contain", none},
      {"0|5|*|*|*|/ZTUtil x 2>&1", "2>&1 is not a URL: the command has to end in one", none},
      {"0|5|*|*|*|/ZTUtil x #y", "#y is not a URL: the command has to end in one", none},
      {"0|5|*|*|*|/ZTUtil 'a b'", "a quote in b' is not closed: write a blank in a URL as %20", none},
      {R"(0|5|*|*|*|/ZTUtil \'a"\""'\')", none, none},
      {R"(0|5|*|*|*|/ZTUtil "it's")", none, none},
      {R"(0|5|*|*|*|/ZTUtil $'file:///\xc3\xa9)", none, none},  // who knows what bash makes of it
      {R"(0|5|*|*|*|/ZTUtil a\r)", none, "the URL ends in an r that stands for a CR: use LF alone to end the line"},
      {"0|5|*|*|1,7|/ZTUtil x", none, "day of week 1,7 means only Monday: list each day, as in 1,2,3 (Sunday is 0)"},
      {"0|5|*|*|*|/ZTUtil letter", none, none},
      {"0|5|*|*|*/2|/ZTUtil x", none, "day of week */2 means only Tuesday: list each day, as in 1,2,3 (Sunday is 0)"},
      {"0|5|1-7,15|6|*|/ZTUtil x", none,
       "day of month 1-7,15 means only days 1-7; month 6 is ignored: the schedule runs in every month"},
  };
  for (const auto& row : rows) {
    const auto entries = readScheduleEntries(tabbed(row.line), Instant{}, Zone("UTC0").calendar);
    ASSERT_EQ(entries.size(), 1U) << row.line;
    EXPECT_EQ(entries[0].diagnostics.error.value_or(none), row.problem) << row.line;
    EXPECT_EQ(entries[0].diagnostics.warning.value_or(none), row.warning) << row.line;
  }
}

TEST(Words, SayThatAUrlIsTooLong) {
  const auto problem = diagnose(CrontabLine(tabbed("0|5|*|*|*|") + std::string(200'000, 'a'))).error;
  EXPECT_EQ(problem, "the URL is too long, or contains a NUL");
}

TEST(TimeText, ReadsAndWritesTimes) {
  const Zone newYork("America/New_York");
  const auto read = [&](const char* text) { return rfc3339(readTime(text, newYork.calendar), newYork.calendar); };
  EXPECT_EQ(read("1805000000"), "2027-03-13T23:53:20-05:00");
  EXPECT_EQ(read("2027-03-14 01:59"), "2027-03-14T01:59:00-05:00");
  EXPECT_EQ(read("2027-03-14T03:00:59"), "2027-03-14T03:00:59-04:00");
  EXPECT_EQ(read("2027-11-07 01:30"), "2027-11-07T01:30:00-04:00");
  for (const auto* bad :
       {"", "now", "-1", "253370764800", "2027-03-14", "2027-03-14 01", "2027-03-14 01:00x", "2027-03-14 02:30",
        "2027-02-29 01:00", "2027-03-14 24:00", "1969-12-31 01:00", "9999-01-01 00:00", "2027-03-14 01:00:60"}) {
    EXPECT_THROW(readTime(bad, newYork.calendar), std::invalid_argument) << bad;
  }
  EXPECT_EQ(readMonth("2027-03"), std::chrono::year{2027} / 3);
  for (const auto* bad : {"", "2027", "2027-13", "1969-12", "9999-01", "2027-03-01"}) {
    EXPECT_THROW(readMonth(bad), std::invalid_argument) << bad;
  }
  const Zone odd("ODD+1:02:03");
  EXPECT_EQ(rfc3339(at("2027-03-14 01:00 +0000"), odd.calendar), "2027-03-13T23:58:00-01:02");
  EXPECT_EQ(timeText(at("2027-03-14 01:02:03 +0000"), odd.calendar), "Sun 2027-03-14 00:00 ODD");
  EXPECT_EQ(rfc3339(Instant{}, Zone("DAY24").calendar), "1969-12-31T00:01:00-23:59");

  const std::vector<std::pair<std::chrono::seconds, const char*>> rows = {
      {-59s, "now"},        {0s, "now"},    {59s, "59s"},       {119s, "1min"},  {60min, "1h"},
      {135min, "2h 15min"}, {24h, "1 day"}, {47h, "1 day 23h"}, {48h, "2 days"}, {71h + 59min, "2 days"},
  };
  for (const auto& [left, text] : rows) EXPECT_EQ(timeLeft(left), text);
}

TEST(TerminalText, OnlyShows) {
  EXPECT_EQ(printable("a\tb\x1b[1m\x7f\xc2\x85\xe2\x80\x8b\xff\xf3\xa0\x81\x81\xcd\xb8\xe2\x80\xa8 é日本"),
            "a\\x09b\\x1b[1m\\x7f\\u0085\\u200b\\xff\\U000e0041\\u0378\\u2028 é日本");
  EXPECT_EQ(displayWidth("e\u0301日本"), 5U);
  EXPECT_EQ(displayWidth("\u1112\u1161\u11ab\u0939\u093f"), 4U);  // a syllable of Hangul, a letter with a spacing mark
  EXPECT_EQ(shortened("日本語", 6), "日本語");
  EXPECT_EQ(shortened("日本語の", 6), "日本…");
  EXPECT_EQ(shortened("a bcdefg", 4), "a b…");
  std::string marks = "e";
  for (int i = 0; i < 1000; ++i) marks += "\u0301";
  EXPECT_LT(shortened(marks, 6).size(), 200U);
  EXPECT_TRUE(shortened(marks, 6).ends_with("…"));
  using Lines = std::vector<std::string_view>;
  EXPECT_EQ(wrapped("one two  three", 7), (Lines{"one two", " three"}));
  EXPECT_EQ(wrapped("onetwothree", 4), (Lines{"onet", "woth", "ree"}));
  EXPECT_EQ(wrapped("日本語 e\u0301e\u0301", 5), (Lines{"日本", "語 e\u0301e\u0301"}));
  EXPECT_EQ(wrapped(" 日本語x", 5), (Lines{" 日本", "語x"}));
  EXPECT_EQ(wrapped("", 5), Lines{""});
  EXPECT_EQ(table({{"a", "0123456789b", "c"}}, 1, 5), "a  0123456789  c\n   b\n");
}

/// Entries in New York at 01:30:20, for the first time round, on the day on which that comes twice.
struct Views : testing::Test {
  const Zone zone{"America/New_York"};
  const Instant now = at("2027-11-07 01:30:20 -0400");
  const std::vector<ScheduleEntry> entries =
      readScheduleEntries(tabbed("30|9|15-21|*|1|/ZTUtil file:///Plans/日本語のコピー日本語のコピー\n"
                                 "*/5 * * * * other\n\n"
                                 "30|1|*|*|1-5,0|/ZTUtil file:///Documents\n"
                                 "30|1|15|*|*|/ZTUtil file:///Mid\n"),
                          now, zone.calendar);
};

TEST_F(Views, ShowTables) {
  EXPECT_EQ(nextRunsView(entries, now, zone.calendar, 72),
            "NEXT                      LEFT    SCHEDULE            COPY\n"
            "Sun 2027-11-07 01:30 EDT  now     Mon, Fri and Sun    Documents\n"
            "                                  at 01:30\n"
            "Mon 2027-11-15 09:30 EST  8 days  3rd Monday of the   日本語のコピー日本\n"
            "                                  month at 09:30      語のコピー\n");
  EXPECT_EQ(runsView(entries, 3, now, zone.calendar, {}),
            "NEXT                      LEFT   SCHEDULE                   COPY\n"
            "Sun 2027-11-07 01:30 EDT  now    Mon, Fri and Sun at 01:30  Documents\n"
            "Sun 2027-11-07 01:30 EST  59min  Mon, Fri and Sun at 01:30  Documents\n"
            "Mon 2027-11-08 01:30 EST  1 day  Mon, Fri and Sun at 01:30  Documents\n");
  EXPECT_EQ(problemsView(entries, {}),
            "LINE  COPY                          PROBLEM\n"
            "1     日本語のコピー日本語のコピー  \"file:///Plans/日本語のコピー日本語のコ…\""
            " is not a URL: percent-encode what a URL cannot contain\n"
            "4     Documents                     warning: day of week 1-5,0 means only Monday, Friday and Sunday: list "
            "each day, as in 1,2,3 (Sunday is 0)\n"
            "5     Mid                           day of month 15 matches no day: use 1-7, 8-14, 15-21 or 22-31\n");
}

TEST_F(Views, ShowAMonth) {
  EXPECT_EQ(monthView(entries, std::chrono::year{2027} / 11, zone.calendar, false),
            "       November 2027\n"
            " Mo  Tu  We  Th  Fr  Sa  Su\n"
            "  1*  2   3   4   5*  6   7*\n"
            "  8*  9  10  11  12* 13  14*\n"
            " 15* 16  17  18  19* 20  21*\n"
            " 22* 23  24  25  26* 27  28*\n"
            " 29* 30\n"
            "\n"
            "dd* a day on which copies are due: 15 on 13 days\n");
  const auto skipped = readScheduleEntries("30\t2\t8-14\t*\t0\tZTUtil\n", now, zone.calendar);
  EXPECT_NE(monthView(skipped, std::chrono::year{2027} / 3, zone.calendar, true).find("due: 0 on 0 days"),
            std::string::npos);
  EXPECT_NE(monthView(skipped, std::chrono::year{2027} / 2, zone.calendar, true).find(" 13  \x1b[1;32m14\x1b[0m\n"),
            std::string::npos);
}

TEST_F(Views, ShowJson) {
  EXPECT_EQ(jsonView(std::span(entries).subspan(1), zone.calendar), R"([
  {
    "line": "30\t1\t*\t*\t1-5,0\t/ZTUtil file:///Documents",
    "due": true,
    "next": 1825565400,
    "nextLocal": "2027-11-07T01:30:00-04:00",
    "schedule": "Mon, Fri and Sun at 01:30",
    "problem": null
  },
  {
    "line": "30\t1\t15\t*\t*\t/ZTUtil file:///Mid",
    "due": false,
    "next": null,
    "nextLocal": null,
    "schedule": "never",
    "problem": "day of month 15 matches no day: use 1-7, 8-14, 15-21 or 22-31"
  }
]
)");
}

TEST_F(Views, HaveNothingToSayOfTextThatIsNotUtf8) {
  const auto broken = readScheduleEntries("0\t5\t*\t*\t*\tZTUtil\n\n# \xff\n", now, zone.calendar);
  ASSERT_EQ(broken.size(), 1U);
  EXPECT_EQ(broken[0].diagnostics.error, "line 3 is not UTF-8, so no line is read");
  EXPECT_FALSE(broken[0].schedule.canFire());
  EXPECT_FALSE(broken[0].next);
}

}  // namespace
}  // namespace zt
