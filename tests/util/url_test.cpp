#include "util/url.h"

#include "support/test.h"

static URL url(std::string_view text) {
  return URL::parse(text).value();
}

TEST(URL, IsAnyReferenceOfRfc3986) {
  const auto expect = [](const char* text, const char* path, const Texts& components, bool isDirectory) {
    EXPECT_EQ(url(text).absoluteString(), text);
    EXPECT_EQ(url(text).path(), path) << text;
    EXPECT_EQ(url(text).pathComponents(), components) << text;
    EXPECT_EQ(url(text).myHasDirectoryPath(), isDirectory) << text;
  };
  expect("file:///tmp/Copy%20Plan/", "/tmp/Copy Plan/", {"/", "tmp", "Copy Plan"}, true);
  expect("file://host/a//b", "/a//b", {"/", "a", "b"}, false);
  expect("file:///", "/", {"/"}, true);
  expect("/tmp/x?query#fragment/", "/tmp/x", {"/", "tmp", "x"}, false);
  expect("file:///%C3%A9", "/é", {"/", "é"}, false);
  expect("/a%2Fb%2f", "/a/b/", {"/", "a/b/"}, false);
  expect("a/./..", "a/./..", {"a", ".", ".."}, false);
  expect("", "", {}, false);
  EXPECT_EQ(url({}).absoluteString(), "");
  for (const auto* text : {"file:///a b", "file:///é", "file:///%zz", "file:///a\r"}) {
    EXPECT_FALSE(URL::parse(text)) << text;
  }
}

TEST(URL, IsComparedByPathComponents) {
  // `equal` has a y or an n for each comparison: without options, caseInsensitive, literal, and with both options.
  const auto expect = [](const std::string& one, const char* other, const char* equal) {
    const URL below = url(one + "/x");
    std::string isEqual, isBelow;
    for (const CompareOptions options : {CompareOptions{false, false}, {true, false}, {false, true}, {true, true}}) {
      isEqual += url(one).isEqual(url(other), options) ? 'y' : 'n';
      isBelow += below.startsWithPath(url(other), options) ? 'y' : 'n';
      EXPECT_FALSE(below.isEqual(url(other), options)) << one << " " << other;
    }
    EXPECT_EQ(isEqual, equal) << one << " " << other;
    EXPECT_EQ(isBelow, equal) << one << " " << other;
  };
  expect("/a/b", "file:///a/b/", "yyyy");
  expect("/a/b", "a/b", "nnnn");
  expect("/a/b", "/a/b/c", "nnnn");
  expect("/Volumes/Disk", "/volumes/disk", "nyny");
  expect("/%C3%A9", "/e%CC%81", "yynn");  // é as one code point, as two
  expect("/%C3%89", "/e%CC%81", "nynn");
  expect("/%C3%89", "/%C3%A9", "nyny");
  expect("/a%CC%A3%CC%87", "/a%CC%87%CC%A3", "yynn");            // two marks, in either order
  expect("/%CE%B1%CD%85%CC%81", "/%CE%B1%CC%81%CE%99", "nynn");  // a mark that folds to a letter
  expect("/stra%C3%9Fe", "/STRASSE", "nyny");
  expect("/%EF%AC%81", "/fi", "nyny");  // a ligature folds, but is not equivalent
  expect("/%FF", "/%FF", "yyyy");       // not UTF-8
  expect("/%FFa", "/%FFA", "nnnn");
  expect("/a%00b", "/a%00B", "nyny");
  expect("", "?", "yyyy");
}

TEST(URL, IsComparedWithAListOfBases) {
  const std::vector<URL> bases = {url("/x"), url("/a"), url("/a/b"), url("/a/bc/d"), url("/a"), url("")};
  Texts found;
  for (const auto& base : url("/a/bc").startsWithPaths(bases, {})) found.push_back(base.absoluteString());
  EXPECT_EQ(found, (Texts{"/a", "/a", ""}));
  EXPECT_TRUE(url("/a/bc").startsWithAnyPath(bases, {}));
  EXPECT_FALSE(url("/y").startsWithAnyPath(std::span(bases).first(5), {}));
}
