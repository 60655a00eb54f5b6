#include <gtest/gtest.h>

#include <algorithm>

#include "util/text.h"
#include "util/url.h"

namespace zt {
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
      {"/", "/", {"/"}, true},
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
  for (const auto* text : {"file:///a b", "file:///é", "file:///%zz", "file:///a\r"}) {
    EXPECT_FALSE(URL::parse(text)) << text;
  }
}

TEST(URL, IsComparedByPathComponents) {
  constexpr auto both = CompareOptions::caseInsensitive | CompareOptions::literal;
  const auto options = {CompareOptions::none, CompareOptions::caseInsensitive, CompareOptions::literal, both};
  struct Row {
    const char *one, *other;
    std::string equal;  // y or n under each of the options
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
      {"/%EA%B0%80", "/%E1%84%80%E1%85%A1", "yynn"},           // a Hangul syllable, its letters
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
      starts += url(std::string(row.one) + "/x").startsWithPath(url(row.other), option) ? 'y' : 'n';
    }
    EXPECT_EQ(equal, row.equal) << row.one << " " << row.other;
    EXPECT_EQ(starts, row.equal) << row.one << " " << row.other;
  }
}

TEST(URL, StartsWithItsAncestors) {
  struct Row {
    const char* text;
    Texts bases, found;
  };
  const std::vector<Row> rows = {
      {"/a/b/c", {"/x", "/a", "/a/b", "/a"}, {"/a", "/a/b", "/a"}},
      {"/a", {"/", "", "/a/", "/a/b"}, {"/", "", "/a/"}},
      {"/a/bc", {"/a/b", "/A"}, {}},
      {"/a", {}, {}},
  };
  for (const auto& row : rows) {
    std::vector<URL> bases;
    std::ranges::transform(row.bases, std::back_inserter(bases), url);
    Texts found;
    for (const auto& base : url(row.text).startsWithPaths(bases, CompareOptions::none)) {
      found.push_back(base.absoluteString());
    }
    EXPECT_EQ(found, row.found) << row.text;
    EXPECT_EQ(url(row.text).startsWithAnyPath(bases, CompareOptions::none), !row.found.empty()) << row.text;
  }
}

}  // namespace
}  // namespace zt
