#include "ztschedules/diagnostics.h"

#include "support/test.h"

static void expect(const CrontabLine& line, const std::string& error, const std::string& warning = "") {
  EXPECT_EQ(diagnose(line).error.value_or(""), error) << line.crontabLine();
  EXPECT_EQ(diagnose(line).warning.value_or(""), warning) << line.crontabLine();
}

TEST(Diagnostics, SayWhatIsWrongWithAField) {
  expect(lineOf("59 23 1-7,22-31 * 0,6"), "");
  expect(lineOf("-1 5 * * 12"), "minute -1 is not in the range 0 to 59",
         "day of week 12 means only Monday and Tuesday: list each day, as in 1,2,3 (Sunday is 0)");
  expect(lineOf("99999999999 5 * * *"), "minute 99999999999 is not in the range 0 to 59");
  expect(lineOf("*/5 5 * * *"), "minute */5 is not a single number from 0 to 59: each time needs its own line");
  expect(lineOf("0  * * *"), "hour \"\" is not a single number from 0 to 23");
  expect(CrontabLine("1, 5\t24\t*\t*\t*\tZTUtil x:a"),
         "minute \"1, 5\" is not a single number from 0 to 59: remove the blanks; hour 24 is not in the range 0 to 23");
  expect(lineOf("\x1b[1m 5 * * *"), "minute \"\\x1b[1m\" is not a single number from 0 to 59");
  expect(lineOf("0 5 15 * *"), "day of month 15 matches no day: use 1-7, 8-14, 15-21 or 22-31");
  expect(lineOf("0 5 22-28 * 1-5"), "day of month 22-28 matches no day: use 1-7, 8-14, 15-21 or 22-31",
         "day of week 1-5 means only Monday and Friday: list each day, as in 1,2,3 (Sunday is 0)");
  expect(lineOf("0 5 * * 7"), "day of week 7 matches no day: use 0 (Sunday) to 6 (Saturday)");
  expect(lineOf("0 5 * * mon"), "day of week mon matches no day: use 0 (Sunday) to 6 (Saturday)");
  expect(lineOf("0 5 * * 1,7"), "", "day of week 1,7 means only Monday: list each day, as in 1,2,3 (Sunday is 0)");
  expect(lineOf("0 5 * * */2"), "", "day of week */2 means only Tuesday: list each day, as in 1,2,3 (Sunday is 0)");
  expect(lineOf("0 5 1-7,15 6 *"), "",
         "day of month 1-7,15 means only days 1-7; month 6 is ignored: the schedule runs in every month");
  expect(
      lineOf("60 5 * 6 *", "ZTUtil 'a\\r"),
      "minute 60 is not in the range 0 to 59; a quote in 'a\\r is not closed: write a blank in a URL as %20",
      "month 6 is ignored: the schedule runs in every month; the URL ends in an r that stands for a CR: use LF alone "
      "to end the line");
}

TEST(Diagnostics, SayWhyALineIsNoSchedule) {
  expect(CrontabLine("0 5 * /ZTUtil"), "4 fields, separated by blanks: 6 are needed, separated by single TABs");
  expect(CrontabLine("0 5 * * *"), "5 fields, separated by blanks: 6 are needed, separated by single TABs");
  expect(CrontabLine("0 5 ? JAN-Mar monday,0 5 /ZTUtil x"), "6 fields, separated by blanks: single TABs are needed");
  expect(CrontabLine("0\t5 *\t*\t*\t/ZTUtil x"), "6 fields, some separated by blanks: single TABs are needed");
  expect(CrontabLine("0\t5\t*\t*\t/ZTUtil x"),
         "5 fields: 6 are needed, separated by single TABs, with no TAB in the command");
  expect(CrontabLine("0\t\t5\t*\t*\t*\t/ZTUtil x"),
         "7 fields: 6 are needed, separated by single TABs, with no TAB in the command");
  expect(CrontabLine("you may not use ZTUtil"),
         "1 field: 6 are needed, separated by single TABs, with no TAB in the command");
  expect(lineOf("0 5 * * *", "/ZTUtil x\r\n"), "the line ends in CR LF: use LF alone");
  expect(CrontabLine(" # " + lineText("0 5 * * *")), "", "commented out: remove \" # \" to enable it");
  expect(CrontabLine("#" + lineText("0 5 * * 7")), "");
  expect(CrontabLine("# ZTUtil\r\n# ZTUtil\r\n"), "");
  expect(CrontabLine("#\r\n" + lineText("0 5 * * *")), "the line ends in CR LF: use LF alone");
  expect(CrontabLine("A=b\r\n" + lineText("0 24 * * *", "ZTUtil a\r\n")),
         "the line ends in CR LF: use LF alone; hour 24 is not in the range 0 to 23");
  expect(CrontabLine("#" + lineText("0 5 * \r\n *", "A\r\n ZTUtil x:a")), "",
         "commented out: remove # to enable it; month \"\\x0d\\x0a\" is ignored: the schedule runs in every month");
  expect(lineOf("0 5 * * *", "ZTUtil x:a;#\r\n"), "");
}
