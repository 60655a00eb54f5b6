#include "ztschedules/new_line.h"

#include <random>

#include "support/test.h"
#include "util/process_runner.h"
#include "util/url.h"
#include "ztschedules/copy_url.h"

TEST(NewLine, SaysWhatWasAskedFor) {
  const std::vector<std::pair<NewSchedule, const char*>> rows = {
      {{.copy = "file:///a", .time = "09:30"}, "30\t9\t*\t*\t*\t: ZTUtil file:///a"},
      {{.copy = "x:a?b=c*", .time = "0:05", .command = "ZTUtil\\%d -c"}, "5\t0\t*\t*\t*\tZTUtil\\%d -c x:a\\?b=c\\*"},
      {{.copy = "/no/../é 1%/", .time = "23:59", .days = "SAT,fri-Sunday,mond"},
       "59\t23\t*\t*\t0,1,5,6\t: ZTUtil file:///\\%C3\\%A9\\%201\\%25/"},
      {{.copy = "/usr", .time = "00:00", .days = "tue-mon", .weeks = "1-5"}, "0\t0\t*\t*\t*\t: ZTUtil file:///usr/"},
      {{.copy = "/etc/passwd", .time = "1:00", .weeks = "3"}, "0\t1\t15-21\t*\t*\t: ZTUtil file:///etc/passwd"},
      {{.copy = "//", .time = "1:00", .days = "wednesday", .weeks = "last-two,1-2"},
       "0\t1\t1-7,8-14,22-31\t*\t3\t: ZTUtil file:///"},
  };
  for (const auto& [schedule, line] : rows) EXPECT_EQ(newLine(schedule, std::nullopt).line, line);
  EXPECT_EQ(newLine(rows[0].first, "/My 100% App/ZTUtil").line, "30\t9\t*\t*\t*\t/My\\ 100\\%\\ App/ZTUtil file:///a");
  EXPECT_EQ(newLine(rows[0].first, "/é/ZTUtil").line, "30\t9\t*\t*\t*\t/é/ZTUtil file:///a");
  EXPECT_EQ(newLine({.copy = "/proc/self", .time = "1:00"}, std::nullopt).line,
            "0\t1\t*\t*\t*\t: ZTUtil file:///proc/self/");
  EXPECT_TRUE(newLine({.copy = "1:b", .time = "1:00"}, std::nullopt).line.ends_with("/1\\%3Ab/"));
  EXPECT_TRUE(newLine({.copy = "a-b.c:d", .time = "1:00"}, std::nullopt).line.ends_with(" a-b.c:d"));
  const auto warnings = [](const NewSchedule& schedule) { return newLine(schedule, std::nullopt).warnings; };
  EXPECT_EQ(warnings({.copy = "/none/../none2", .time = "1:00", .weeks = "4"}),
            (Texts{"week 4 is the fourth and the fifth: a line cannot tell them apart", "/none2/ does not exist"}));
  EXPECT_TRUE(warnings({.copy = "/" + std::string(300, 'a'), .time = "1:00"}).at(0).ends_with("File name too long"));
  EXPECT_EQ(warnings({.copy = "file:///none/a%20b", .time = "1:00"}), Texts{"\"/none/a b\" does not exist"});
  EXPECT_EQ(warnings({.copy = "Foto:2026", .time = "1:00"}),
            Texts{"Foto:2026 is taken for a URL: if it is a folder, write ./Foto:2026"});
  EXPECT_EQ(warnings({.copy = "file://Photos/", .time = "1:00", .weeks = "5,4"}),
            Texts{"file://Photos/ does not name a folder here: its path has to begin after file://"});
  EXPECT_EQ(warnings({.copy = "https://" + std::string(981, 'a'), .time = "1:00"}), Texts{}) << "998 bytes";
  EXPECT_EQ(warnings({.copy = "https://" + std::string(982, 'a'), .time = "1:00"}),
            Texts{"Debian's cron takes no command of more than 998 bytes, and this has 999"});
}

TEST(NewLine, IsRefusedIfALineCannotSayThat) {
  const auto error = [](const NewSchedule& schedule) -> std::string {
    try {
      return newLine(schedule, std::nullopt).line;
    } catch (const std::invalid_argument& reason) {
      return reason.what();
    }
  };
  for (const auto* time :
       {"", "9", "9:3", "9:-3", "24:00", "09:60", "+9:30", "9:30,18:00", "9:300", "*:00", "009:30"}) {
    EXPECT_TRUE(error({.copy = "/a", .time = time}).ends_with("each time needs its own line")) << time;
  }
  for (const auto* days : {"", "mo", "mon,", "1", "mon-", "mon--fri", "mons"}) {
    EXPECT_TRUE(error({.copy = "/a", .time = "1:00", .days = days}).ends_with("as in mon or mon,wed-fri")) << days;
  }
  for (const auto* weeks : {"", "0", "5", "last", "3-last-two", "1-6", "1,"}) {
    EXPECT_NE(error({.copy = "/a", .time = "1:00", .weeks = weeks}).find("last-two"), std::string::npos) << weeks;
  }
  EXPECT_EQ(error({.copy = "", .time = "1:00"}), "\"\" is neither a URL nor the path of a folder");
  EXPECT_EQ(error({.copy = "/a\nb", .time = "1:00"}), "\"/a\\x0ab\" is neither a URL nor the path of a folder");
  EXPECT_EQ(error({.copy = "My: b", .time = "1:00"}),
            "\"My: b\" is not a URL, and there is no such folder: percent-encode what a URL cannot contain");
  EXPECT_EQ(error({.copy = "../" + std::string(300, 'a'), .time = "1:00"}),
            "../aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa… cannot be found: File name too long");
  EXPECT_EQ(error({.copy = "a:" + std::string(131'064, 'a'), .time = "1:00"}),
            "a:aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa… cannot be scheduled: the URL is too long, or contains a NUL");
  const auto commandError = [&](const char* command) {
    return error({.copy = "/a", .time = "1:00", .command = command});
  };
  EXPECT_EQ(commandError("/ztutil"), "/ztutil does not contain ZTUtil, which marks a schedule");
  EXPECT_EQ(commandError("ZTUtil\t-x"),
            "\"ZTUtil\\x09-x\" cannot be in a line: it contains a TAB, a line end, or bytes "
            "that are not UTF-8");
  EXPECT_NE(commandError("ZTUtil\r").find("a line end"), std::string::npos);
  EXPECT_EQ(commandError("ZTUtil\xff").substr(0, 30), "\"ZTUtil\\xff\" cannot be in a li");
  EXPECT_EQ(commandError("ZTUtil \\\\%"), "\"ZTUtil \\\\%\" contains a plain %, which ends a line for cron: write \\%");
  EXPECT_EQ(commandError("%ZTUtil"), "%ZTUtil contains a plain %, which ends a line for cron: write \\%");
}

TEST(NewLine, HasAWordThatShellsReadAsTheUrl) {
  static constexpr std::string_view nameCharacters = "  !\"#$%&'()*+,-.09:;<=>?@AZ[\\]^_`az{|}~\t\r\x1b\x7f";
  static constexpr std::string_view urlCharacters = "!#$&'()*+,-./09:;=?@AZ[]_az~";
  const Texts letters = {"é", "日本", "\u0301", "\U0001F4BE", "\xff", "\xc3"};
  std::mt19937 random(19);
  const auto pick = [&](const auto& all) { return all[random() % all.size()]; };
  Texts urls;
  std::ofstream forBash(testing::TempDir() + "new_line.bash");
  std::ofstream forCron(testing::TempDir() + "new_line.sh");
  while (urls.size() < 20'000) {
    const bool isFolder = urls.size() % 2 == 0;
    std::string copy = isFolder ? "/copies/" : "https://host/";
    for (auto length = random() % 12; length > 0; --length) {
      if (random() % 5 == 0) {
        copy += isFolder ? pick(letters) : "%2" + std::to_string(random() % 10);
      } else {
        copy += pick(isFolder ? nameCharacters : urlCharacters);
      }
    }
    if (!isFolder && !URL::parse(copy)) continue;  // as for a second #
    const CrontabLine line(newLine({.copy = copy, .time = "1:00"}, std::nullopt).line);
    urls.push_back(certainURL(line).value().absoluteString());
    const auto expected = isFolder ? fs::path(copy + "/").lexically_normal().string() : copy;
    EXPECT_EQ(isFolder ? URL::parse(urls.back())->path() : urls.back(), expected);
    std::string word(lastWord(line));
    forBash << "echo -n " << word << "\necho\n";
    // Without its backslash, a percent sign comes to the shell from cron.
    for (auto sign = word.find("\\%"); sign != word.npos; sign = word.find("\\%", sign)) word.erase(sign, 1);
    forCron << "printf '%s\\n' " << word << '\n';
  }
  forBash.close();
  forCron.close();
  EXPECT_EQ(shell(Task("/bin/bash", Texts{testing::TempDir() + "new_line.bash"})), urls);
  EXPECT_EQ(shell(Task("/bin/sh", Texts{testing::TempDir() + "new_line.sh"})), urls);
  for (const auto* script : {"new_line.bash", "new_line.sh"}) fs::remove(testing::TempDir() + script);
}
