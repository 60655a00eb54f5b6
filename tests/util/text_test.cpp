#include "util/text.h"

#include "support/test.h"

TEST(Lines, EndAtLineFeedsThatFollowNoCarriageReturn) {
  const std::vector<std::pair<const char*, Texts>> rows = {
      {"", {}},
      {"\n\n", {}},
      {"a\n\nb\n", {"a", "b"}},
      {"\na", {"a"}},
      {"a\r\nb\r\n", {"a\r\nb\r\n"}},
      {"a\n\r\nb", {"a", "\r\nb"}},
      {"\r\n", {"\r\n"}},
      {"a\r", {"a\r"}},
      {"a\r\r\n\nb", {"a\r\r\n", "b"}},
  };
  for (const auto& [text, expected] : rows) EXPECT_EQ(lines(text), expected) << text;
}
