#include <gtest/gtest.h>

#include <algorithm>

#include "util/text.h"
#include "util/url.h"

namespace zt {

using namespace util;
namespace {

using Texts = std::vector<std::string>;

TEST(Lines, EndAtLineFeedsThatFollowNoCarriageReturn) {
  const std::vector<std::pair<const char*, Texts>> rows = {
      {"", {}},           {"\n\n", {}},           {"a\n\nb\n", {"a", "b"}},
      {"\na", {"a"}},     {"a\r\nb", {"a\r\nb"}}, {"a\n\r\nb", {"a", "\r\nb"}},
      {"\r\n", {"\r\n"}}, {"a\r", {"a\r"}},       {"a\r\r\n\nb", {"a\r\r\n", "b"}},
  };
  for (const auto& [text, expected] : rows) EXPECT_EQ(lines(text), expected) << text;
}

URL url(std::string_view text) {
  return URL::parse(text).value();
}

TEST(URL, IsAReferenceAsTheStandardHasIt) {
  struct Row {
    const char *text, *path;
    Texts components;
    bool isDirectory;
  };
  const std::vector<Row> rows = {
      {"file:///tmp/Copy%20Plan/", "/tmp/Copy Plan/", {"/", "tmp", "Copy Plan"}, true},
      {"file://host/a//b", "/a//b", {"/", "a", "b"}, false},
      {"file:///", "/", {"/"}, true},
      {"/tmp/x?query#fragment/", "/tmp/x", {"/", "tmp", "x"}, false},
      {"file:///%C3%A9", "/é", {"/", "é"}, false},
      {"/a%2Fb%2f", "/a/b/", {"/", "a/b/"}, false},
      {"a/./..", "a/./..", {"a", ".", ".."}, false},
      {"", "", {}, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(url(row.text).absoluteString(), row.text);
    EXPECT_EQ(url(row.text).path(), row.path) << row.text;
    EXPECT_EQ(url(row.text).pathComponents(), row.components) << row.text;
    EXPECT_EQ(url(row.text).myHasDirectoryPath(), row.isDirectory) << row.text;
  }
  EXPECT_EQ(url({}).absoluteString(), "");
  for (const auto* text : {"file:///a b", "file:///é", "file:///%zz", "file:///a\r"}) {
    EXPECT_FALSE(URL::parse(text)) << text;
  }
}

TEST(URL, IsComparedByPathComponents) {
  const std::vector<CompareOptions> options = {{false, false}, {true, false}, {false, true}, {true, true}};
  struct Row {
    const char *one, *other;
    std::string equal;  // y or n: without options, caseInsensitive, literal, with both
  };
  const std::vector<Row> rows = {
      {"/a/b", "file:///a/b/", "yyyy"},
      {"/a/b", "a/b", "nnnn"},
      {"/a/b", "/a/b/c", "nnnn"},
      {"/Volumes/Disk", "/volumes/disk", "nyny"},
      {"/%C3%A9", "/e%CC%81", "yynn"},  // é as one code point, as two
      {"/%C3%89", "/e%CC%81", "nynn"},
      {"/%C3%89", "/%C3%A9", "nyny"},
      {"/a%CC%A3%CC%87", "/a%CC%87%CC%A3", "yynn"},            // two marks, in either order
      {"/%CE%B1%CD%85%CC%81", "/%CE%B1%CC%81%CE%99", "nynn"},  // a mark that folds to a letter
      {"/stra%C3%9Fe", "/STRASSE", "nyny"},
      {"/%EF%AC%81", "/fi", "nyny"},  // a ligature folds, but is not equivalent
      {"/%FF", "/%FF", "yyyy"},       // not UTF-8
      {"/%FFa", "/%FFA", "nnnn"},
      {"/a%00b", "/a%00B", "nyny"},
      {"", "?", "yyyy"},
  };
  for (const auto& row : rows) {
    std::string equal;
    std::string starts;
    for (const auto option : options) {
      equal += url(row.one).isEqual(url(row.other), option) ? 'y' : 'n';
      const URL below = url(std::string(row.one) + "/x");
      starts += below.startsWithPath(url(row.other), option) ? 'y' : 'n';
      EXPECT_FALSE(below.isEqual(url(row.other), option)) << row.one << " " << row.other;
    }
    EXPECT_EQ(equal, row.equal) << row.one << " " << row.other;
    EXPECT_EQ(starts, row.equal) << row.one << " " << row.other;
  }
}

TEST(URL, StartsWithSomeOfAList) {
  const Texts bases = {"/x", "/a", "/a/b", "/a/bc/d", "/a", ""};
  std::vector<URL> urls;
  std::ranges::transform(bases, std::back_inserter(urls), url);
  Texts found;
  for (const auto& base : url("/a/bc").startsWithPaths(urls, {})) {
    found.push_back(base.absoluteString());
  }
  EXPECT_EQ(found, (Texts{"/a", "/a", ""}));
  EXPECT_TRUE(url("/a/bc").startsWithAnyPath(urls, {}));
  urls.pop_back();
  EXPECT_FALSE(url("/y").startsWithAnyPath(urls, {}));
}

}  // namespace
}  // namespace zt
