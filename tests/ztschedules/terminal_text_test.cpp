#include "ztschedules/terminal_text.h"

#include "support/test.h"

TEST(TerminalText, EscapesWhatATerminalWouldNotShow) {
  EXPECT_EQ(printable("a\tb\x1b[1m\x7f\xc2\x85\xe2\x80\x8b\xff\xf3\xa0\x81\x81\xcd\xb8\xe2\x80\xa8 é日本"),
            "a\\x09b\\x1b[1m\\x7f\\u0085\\u200b\\xff\\U000e0041\\u0378\\u2028 é日本");
}

TEST(TerminalText, IsMeasuredInColumns) {
  EXPECT_EQ(displayWidth("e\u0301日本"), 5U);
  EXPECT_EQ(displayWidth("\u1112\u1161\u11ab\u0939\u093f"), 4U);  // a syllable of Hangul, a letter with a spacing mark
}

TEST(TerminalText, IsShortenedWithAnEllipsis) {
  EXPECT_EQ(shortened("日本語", 6), "日本語");
  EXPECT_EQ(shortened("日本語の", 6), "日本…");
  EXPECT_EQ(shortened("a bcdefg", 4), "a b…");
  std::string marks = "e";
  for (int i = 0; i < 1000; ++i) marks += "\u0301";
  EXPECT_LT(shortened(marks, 6).size(), 200U);
  EXPECT_TRUE(shortened(marks, 6).ends_with("…"));
}

TEST(TerminalText, IsWrappedAtBlanksOrWithinLongWords) {
  using Lines = std::vector<std::string_view>;
  EXPECT_EQ(wrapped("one two  three", 7), (Lines{"one two", " three"}));
  EXPECT_EQ(wrapped("onetwothree", 4), (Lines{"onet", "woth", "ree"}));
  EXPECT_EQ(wrapped("日本語 e\u0301e\u0301", 5), (Lines{"日本", "語 e\u0301e\u0301"}));
  EXPECT_EQ(wrapped(" 日本語x", 5), (Lines{" 日本", "語x"}));
  EXPECT_EQ(wrapped("", 5), Lines{""});
}

TEST(TerminalText, IsAlignedInTables) {
  EXPECT_EQ(table({{{"日本", "a"}}, {{"abcdef", "b"}}}, 0, {}), "日本    a\nabcdef  b\n");
  EXPECT_EQ(table({{{"A", "B", "C"}}, {{"a", "0123456789 123456789", "c"}}}, 1, {.columns = 20}),
            "A  B               C\na  0123456789      c\n   123456789\n")
      << "narrower columns";
  EXPECT_EQ(table({{{"A"}}, {{"0123456789 12345"}}}, 0, {.columns = 14}), "A\n0123456789\n12345\n") << "the narrowest";
  EXPECT_EQ(paragraph("日本", Style::plain, {.columns = 1}), "日\n本\n");
}

TEST(TerminalText, IsInBlocksIfATableWouldBeTooWide) {
  const std::vector<Row> rows = {{{"AB", "日本"}}, {{"a b", "日本 語"}, Style::error}, {{"c", ""}, Style::dueNow}};
  EXPECT_EQ(table(rows, 1, {.columns = 10}), "AB    a b\n日本  日本\n      語\n\nAB    c\n日本\n");
  EXPECT_EQ(table(rows, 1, {.columns = 3}), table(rows, 1, {.columns = 8})) << "no character of two columns would fit";
  EXPECT_EQ(table(rows, 1, {.columns = 10, .hasColor = true}),
            "\x1b[31mAB    a b\x1b[0m\n\x1b[31m日本  日本\x1b[0m\n\x1b[31m      語\x1b[0m\n\n\x1b[1mAB    c\x1b[0m\n"
            "\x1b[1m日本\x1b[0m\n");
}
