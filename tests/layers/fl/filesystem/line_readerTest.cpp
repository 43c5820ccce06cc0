#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

#include "fl/filesystem/line_reader.hpp"

namespace fl::filesystem {
namespace {

using testing::ElementsAre;

std::vector<std::string> linesOf(line_reader& reader) {
  std::vector<std::string> lines;
  while (reader.next()) lines.emplace_back(reader.line());
  return lines;
}

std::vector<std::string> linesOf(std::string_view text, line_limits limits = {}) {
  line_reader reader(text, limits);
  return linesOf(reader);
}

TEST(LineReader, GivesEachLineWithoutItsLineFeed) {
  EXPECT_THAT(linesOf("one\n\n two\r\nthree"), ElementsAre("one", "", " two\r", "three"));
  EXPECT_THAT(linesOf("one\n"), ElementsAre("one"));
  EXPECT_THAT(linesOf("\n"), ElementsAre(""));
  EXPECT_THAT(linesOf(""), ElementsAre());
  EXPECT_THAT(linesOf(std::string_view("a\0b\n", 4)), ElementsAre(std::string("a\0b", 3)));
}

TEST(LineReader, CountsLinesAndTellsWhetherTheyHaveALineFeed) {
  line_reader reader("a\nb");
  ASSERT_TRUE(reader.next());
  EXPECT_EQ(reader.number(), 1u);
  EXPECT_TRUE(reader.has_line_feed());
  ASSERT_TRUE(reader.next());
  EXPECT_EQ(reader.number(), 2u);
  EXPECT_FALSE(reader.has_line_feed());
  EXPECT_FALSE(reader.next());
  EXPECT_FALSE(reader.next());
  EXPECT_EQ(reader.number(), 2u);
}

TEST(LineReader, LinesAreTheSameHoweverTheirBytesCome) {
  std::string text;
  for (int i = 0; i < 2000; ++i) text += std::string(static_cast<std::size_t>(i % 90), 'x') + "\n";
  text += "end";
  auto const expected = linesOf(text);
  ASSERT_EQ(expected.size(), 2001u);
  for (std::size_t const step : {1u, 2u, 7u, 4096u}) {
    std::string_view rest = text;
    line_reader reader([&](std::span<char> buffer) {
      auto const count = rest.copy(buffer.data(), std::min(step, buffer.size()));
      rest.remove_prefix(count);
      return count;
    });
    EXPECT_EQ(linesOf(reader), expected) << step;
  }
}

TEST(LineReader, ALineAtItsLimitIsWholeAndOneAboveIsTooLong) {
  line_limits const limits{.line = 5};
  line_reader reader("12345\n123456\n1234\n1234567", limits);
  ASSERT_TRUE(reader.next());
  EXPECT_FALSE(reader.is_line_too_long());
  EXPECT_EQ(reader.line(), "12345");
  ASSERT_TRUE(reader.next());
  EXPECT_TRUE(reader.is_line_too_long());
  EXPECT_EQ(reader.line(), "12345") << "its beginning";
  EXPECT_EQ(reader.why_line_is_too_long(), "longer than 5 bytes, the most a line may be");
  ASSERT_TRUE(reader.next());
  EXPECT_FALSE(reader.is_line_too_long());
  EXPECT_EQ(reader.line(), "1234") << "the lines after it are read";
  ASSERT_TRUE(reader.next());
  EXPECT_TRUE(reader.is_line_too_long()) << "without a line feed, too";
  EXPECT_FALSE(reader.next());
  EXPECT_FALSE(reader.is_text_too_long());
}

TEST(LineReader, ATextAtItsLimitIsWholeAndOneAboveIsTooLong) {
  for (std::string const text : {"ab\ncd\n", "ab\ncde"}) {
    line_reader whole(text, {.text = text.size()});
    EXPECT_EQ(linesOf(whole).size(), 2u);
    EXPECT_FALSE(whole.is_text_too_long());
    line_reader longer(text, {.text = text.size() - 1});
    EXPECT_THAT(linesOf(longer), ElementsAre("ab")) << "no line of which the end is not known";
    EXPECT_TRUE(longer.is_text_too_long());
  }
  line_reader none("a", {.text = 0});
  EXPECT_FALSE(none.next());
  EXPECT_TRUE(none.is_text_too_long());
  line_reader boundless("a\nb", {.text = UINT64_MAX});
  EXPECT_EQ(linesOf(boundless).size(), 2u);
}

TEST(LineReader, OfATextWithoutEndItReadsNoMoreThanItsLimit) {
  std::uint64_t given = 0;
  std::size_t calls = 0;
  line_reader reader([&](std::span<char> buffer) {
    std::ranges::fill(buffer, 'x');
    given += buffer.size();
    ++calls;
    return buffer.size();
  });
  EXPECT_FALSE(reader.next());
  EXPECT_TRUE(reader.is_text_too_long());
  EXPECT_LE(reader.line().size(), reader.limits().line) << "no more than a line is kept";
  EXPECT_EQ(given, reader.limits().text + 1);
  EXPECT_LE(calls, 300u) << "in large parts";
}

TEST(LineReader, EveryByteIsAskedForOnce) {
  std::string const text = std::string(5u << 20, 'x') + "\n" + std::string(3u << 20, '\n');
  std::uint64_t given = 0;
  std::string_view rest = text;
  line_reader reader([&](std::span<char> buffer) {
    auto const count = rest.copy(buffer.data(), buffer.size());
    rest.remove_prefix(count);
    given += count;
    return count;
  });
  while (reader.next()) {
  }
  EXPECT_EQ(given, text.size());
  EXPECT_EQ(reader.number(), (3u << 20) + 1);
}

TEST(LineReader, WhatTheSourceThrowsPassesThrough) {
  int calls = 0;
  line_reader reader([&](std::span<char> buffer) -> std::size_t {
    if (++calls == 2) throw std::runtime_error("torn off");
    return std::string_view("one\ntw").copy(buffer.data(), buffer.size());
  });
  ASSERT_TRUE(reader.next());
  EXPECT_THROW(reader.next(), std::runtime_error);
}

TEST(Trimmed, TakesBlanksOffBothEnds) {
  EXPECT_EQ(trimmed(" \t\v\f\r\na b \r\n"), "a b");
  EXPECT_EQ(trimmed("a"), "a");
  EXPECT_EQ(trimmed(" \t "), "");
  EXPECT_EQ(trimmed(""), "");
}

}  // namespace
}  // namespace fl::filesystem
