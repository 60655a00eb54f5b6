#include <gtest/gtest.h>

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

TEST(URL, IsAReferenceAsTheStandardHasIt) {
  const std::vector<std::pair<const char*, std::optional<std::string>>> rows = {
      {"file:///tmp/Copy%20Plan/", "/tmp/Copy Plan/"},
      {"file://host/a//b", "/a//b"},
      {"file:///", "/"},
      {"/", "/"},
      {"/tmp/x?query#fragment", "/tmp/x"},
      {"file:///%C3%A9", "/é"},
      {"file:///a b", {}},
      {"file:///é", {}},
      {"file:///%zz", {}},
      {"file:///a\r", {}},
  };
  for (const auto& [text, path] : rows) {
    const auto url = URL::parse(text);
    ASSERT_EQ(url.has_value(), path.has_value()) << text;
    if (!url) continue;
    EXPECT_EQ(url->path(), path) << text;
    EXPECT_EQ(url->absoluteString(), text);
  }
}

}  // namespace
}  // namespace zt
