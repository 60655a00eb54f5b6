#include <gtest/gtest.h>

#include "util/shell.h"
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

std::optional<Texts> bash(const std::string& script, std::int32_t expectedStatus = 0) {
  Task task;
  task.setLaunchPath("/bin/bash");
  auto output = shell(task, std::nullopt, Texts{"-c", script});
  EXPECT_EQ(task.terminationStatus(), expectedStatus) << script;
  return output;
}

TEST(Shell, GivesAllOutputAsLines) {
  EXPECT_EQ(bash(":"), Texts{});
  EXPECT_EQ(bash("echo out; echo err >&2; echo out; exit 7", 7), (Texts{"out", "err", "out"}));
  EXPECT_EQ(bash("echo -n a; kill -9 $$", 9), Texts{"a"});
  EXPECT_EQ(bash("yes é | head -n 100000").value().size(), 100000U);
  for (const auto* notUtf8 : {"a\\xff", "\\xc3", "\\xc0\\x80", "\\xed\\xa0\\x80", "\\xf4\\x90\\x80\\x80"}) {
    EXPECT_EQ(bash(std::string("printf '") + notUtf8 + "'"), std::nullopt) << notUtf8;
  }
}

}  // namespace
}  // namespace zt
