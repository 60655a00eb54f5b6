#include "ztschedules/copy_url.h"

#include "support/test.h"

TEST(CopyUrl, HasTheNameOfTheCopy) {
  const auto name = [](const char* command) { return copyName(lineOf("0 5 * * *", command)); };
  EXPECT_EQ(name("/ZTUtil file:///a/Copy%20Plan/"), "Copy%20Plan");
  EXPECT_EQ(name(R"(/b/ZTUtil file:///a\ b\'c)"), R"(b\'c)");
  EXPECT_EQ(name("/ZTUtil file:///a/b?c/d#e/"), "b");
  EXPECT_EQ(name("/ZTUtil file:///a/b//"), "b");
  EXPECT_EQ(name("/ZTUtil name"), "name");
  EXPECT_EQ(name("file:///ZTUtil"), "ZTUtil");
  EXPECT_EQ(name("/ZTUtil file:///"), "file:///");
  EXPECT_EQ(name("/ZTUtil 'file:///a/b/'"), "b");
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
  for (const auto* url : {"file:///a%20b", R"(\'a"\""'\')", R"("it's")"}) EXPECT_EQ(error(url), std::nullopt) << url;
  EXPECT_EQ(error(R"($'file:///\xc3\xa9)"), std::nullopt) << "only bash knows what this is";
}

TEST(CopyUrl, HasAWarningIfTheLineEndedInACarriageReturn) {
  const auto warning = [](const char* url) { return urlWarning(lineOf("0 5 * * *", url)); };
  EXPECT_EQ(warning("letter"), std::nullopt);
  EXPECT_EQ(warning(R"(a\r)"), "the URL ends in an r that stands for a CR: use LF alone to end the line");
}
