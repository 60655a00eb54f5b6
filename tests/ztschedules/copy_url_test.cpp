#include "ztschedules/copy_url.h"

#include <sstream>

#include "discovery/due_schedules.h"
#include "support/test.h"
#include "util/task_commands.h"

TEST(CopyUrl, HasTheNameOfTheCopy) {
  const auto name = [](const char* command) { return copyName(lineOf("0 5 * * *", command)); };
  EXPECT_EQ(name("/ZTUtil file:///a/Copy%20Plan/"), "Copy Plan");
  EXPECT_EQ(name(R"(/b/ZTUtil file:///a\ b\'c)"), "b'c");
  EXPECT_EQ(name("/ZTUtil file:///a/b?c/d#e/"), "b");
  EXPECT_EQ(name("/ZTUtil file:///a/b//"), "b");
  EXPECT_EQ(name("/ZTUtil name"), "name");
  EXPECT_EQ(name("file:///ZTUtil"), "ZTUtil");
  EXPECT_EQ(name("/ZTUtil file:///"), "file:///");
  EXPECT_EQ(name("/ZTUtil 'file:///a/b/'"), "b");
  EXPECT_EQ(name("/ZTUtil https://host"), "https://host");
  EXPECT_EQ(name(R"(/ZTUtil "file://$HOME/Copy%20Plan/")"), "Copy%20Plan") << "only bash knows the URL";
  EXPECT_EQ(name("/ZTUtil $a/b//"), "b");
  EXPECT_EQ(name("/ZTUtil $a:/"), "$a:/");
  EXPECT_EQ(certainURL(lineOf("0 5 * * *", "/ZTUtil a:" + std::string(131'064, 'a'))), std::nullopt);
  EXPECT_EQ(name("/ZTUtil "), "");
}

TEST(CopyUrl, HasAnErrorIfBashCannotMakeAUrlOfIt) {
  const auto error = [](const std::string& url) { return urlError(lineOf("0 5 * * *", "/ZTUtil " + url)); };
  EXPECT_EQ(error(""), "the command does not end in a URL");
  EXPECT_EQ(error("file:///é"), "\"file:///é\" is not a URL: percent-encode what a URL cannot contain");
  EXPECT_EQ(error("a\x07"), "\"a\\x07\" is not a URL: percent-encode what a URL cannot contain");
  EXPECT_EQ(error("x 2>&1"), "2>&1 is not a URL: the command has to end in one");
  EXPECT_EQ(error("x #y"), "#y is not a URL: the command has to end in one");
  EXPECT_EQ(error("'a b'"), "a quote in b' is not closed: write a blank in a URL as %20");
  EXPECT_EQ(error(std::string(131'064, 'a')), "the URL is too long, or contains a NUL");
  EXPECT_EQ(error("a(1)"), "bash cannot parse a(1): put the URL in quotes");
}

TEST(CopyUrl, HasAnErrorOnlyIfBashMakesNoUrlOfIt) {
  const std::vector<std::tuple<std::string, bool, const char*>> rows = {
      {R"(\a"b\"'c')", false, "a backslash that is quoted, or in double quotes, is a character"},
      {R"(a\)", false, "the same at the end"},
      {R"("it's"\&)", true, "a quote, and an operator, that are quoted"},
      {"-neE", false, "options of echo"},
      {"1;", true, "an operator ends the word, even a number"},
      {"0&", true, "the same"},
      {"2147483648>&1", true, "not the number of a descriptor: a word"},
      {"a;#'", true, "a comment, which ends the word"},
      {";#", false, "echo has no argument"},
      {"a&&", false, "a command is missing"},
      {"a>#b", false, "a file name is missing"},
      {"a<&0>&2", true, "echo prints the word elsewhere, but not into a file"},
      {"a^>&2", false, "it is not a URL, wherever it is printed"},
      {"2>/dev/null", false, "what is behind > is not an argument of echo"},
      {"2>&-a", true, "but what is behind >&- is one"},
      {"|umask", true, "another command"},
      {"a;umask^'", false, "a quote is open in another command"},
      {"<(:)", true, "the path of a pipe"},
      {"{a,}", true, "only bash knows what it expands to"},
      {R"($'\'')", true, "another kind of quotes"},
      {"a\r\n#'", false, "echo prints the CR of its line"},
      {"a;#\r\n", true, "the CR is in a comment"},
      {"a;umask;#\r\n;;", true, "the first line runs, and prints a whole line"},
      {"a<<b\r\n'\r\nb\r\n", true, "the quote is in a here-document"},
  };
  TaskCommands bash({.awakeTime = 30s, .bytes = 1'000'000}, [](const auto& line) { ADD_FAILURE() << line; });
  std::ostringstream messages;
  for (const auto& [word, isUrl, why] : rows) {
    const auto line = lineOf("0 5 * * *", "/ZTUtil " + word);
    EXPECT_EQ(commandURL(line, bash, messages).has_value(), isUrl) << word << ": " << why;
    EXPECT_EQ(urlError(line).has_value(), !isUrl) << word << ": " << why;
  }
}

TEST(CopyUrl, HasAWarningIfItIsProbablyNotWhatWasMeant) {
  const auto warning = [](const char* url) { return urlWarning(lineOf("0 5 * * *", url)); };
  EXPECT_EQ(warning("file:///letter"), std::nullopt);
  EXPECT_EQ(warning("FILE://localhost/letter"), std::nullopt);
  EXPECT_EQ(warning("/$letter"), std::nullopt) << "only bash knows";
  EXPECT_EQ(warning(R"(a\r)"), "the URL ends in an r that stands for a CR: use LF alone to end the line");
  EXPECT_EQ(
      warning("/Copy\\%20Plan#a:b"),
      "/Copy%20Plan#a:b, the last word, is not an absolute URL: write a folder as file:// and its path, a blank as "
      "%20");
  for (const std::string url : {"file://Photos/2026", "File:Photos", "file:", "file://localhost"}) {
    EXPECT_EQ(warning(url.c_str()), url + " does not name a folder here: its path has to begin after file://");
  }
}
