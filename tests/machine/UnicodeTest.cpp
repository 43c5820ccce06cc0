#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "machine/unicode.hpp"

namespace machine {

namespace {

/// A decoder by the letter of the standard: table 3-7 row by row, and the longest prefix of a row
/// where none matches. Slow, and written apart from the library's.
struct Row {
  struct Range {
    unsigned char low, high;
  };
  std::vector<Range> bytes;
};

std::vector<Row> const& table3_7() {
  static std::vector<Row> const rows = {
      {{{0x00, 0x7F}}},
      {{{0xC2, 0xDF}, {0x80, 0xBF}}},
      {{{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}},
      {{{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}},
      {{{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}},
      {{{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}},
      {{{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
      {{{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
      {{{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}},
  };
  return rows;
}

std::size_t matching(Row const& row, std::string_view text) {
  std::size_t n = 0;
  for (; n < row.bytes.size() && n < text.size(); ++n) {
    auto const byte = static_cast<unsigned char>(text[n]);
    if (byte < row.bytes[n].low || byte > row.bytes[n].high) break;
  }
  return n;
}

void appendUnits(UString& out, char32_t point) {
  if (point < 0x10000) {
    out += static_cast<char16_t>(point);
  } else {
    out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
    out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
  }
}

UString referenceToUtf16(std::string_view text) {
  UString out;
  while (!text.empty()) {
    std::size_t longest = 0;
    bool isWhole = false;
    for (auto const& row : table3_7()) {
      auto const n = matching(row, text);
      isWhole = isWhole || n == row.bytes.size();
      longest = std::max(longest, n);
    }
    if (isWhole) {
      constexpr unsigned leadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
      char32_t point = static_cast<unsigned char>(text[0]) & leadMask[longest];
      for (std::size_t i = 1; i < longest; ++i)
        point = point << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
      appendUnits(out, point);
    } else {
      out += u'\uFFFD';
    }
    text.remove_prefix(std::max<std::size_t>(longest, 1));
  }
  return out;
}

std::string referenceToUtf8(std::u16string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t point = text[i];
    bool const high = (point & 0xFC00) == 0xD800;
    if (high && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00)
      point = 0x10000 + ((point & 0x3FF) << 10 | (text[++i] & 0x3FFu));
    else if ((point & 0xF800) == 0xD800)
      point = 0xFFFD;
    auto const put = [&](std::uint32_t byte) { out += static_cast<char>(byte); };
    auto const tail = [&](int shift) { put(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
      put(point);
    } else if (point < 0x800) {
      put(0xC0 | point >> 6), tail(0);
    } else if (point < 0x10000) {
      put(0xE0 | point >> 12), tail(6), tail(0);
    } else {
      put(0xF0 | point >> 18), tail(12), tail(6), tail(0);
    }
  }
  return out;
}

/// Text on the heap to the byte, so that the sanitizer sees a read beyond it.
template <typename Unit>
struct Exact {
  explicit Exact(std::basic_string<Unit> const& text)
      : units(std::make_unique<Unit[]>(text.size())), size(text.size()) {
    std::copy(text.begin(), text.end(), units.get());
  }
  std::basic_string_view<Unit> view() const { return {units.get(), size}; }
  std::unique_ptr<Unit[]> units;
  std::size_t size;
};

constexpr int cases = 150'000;

}  // namespace

TEST(Unicode, WellFormedTextIsConvertedBothWays) {
  std::string const utf8 = "A\u00E4\u0416\u65E5\U0001F600";
  UString const utf16 = u"A\u00E4\u0416\u65E5\U0001F600";
  EXPECT_EQ(toUtf16(utf8), utf16);
  EXPECT_EQ(toUtf8(utf16), utf8);
}

TEST(Unicode, EmptyTextStaysEmpty) {
  EXPECT_EQ(toUtf16({}), u"");
  EXPECT_EQ(toUtf8({}), "");
  EXPECT_EQ(toWide({}), L"");
  EXPECT_EQ(fromWide({}), u"");
}

TEST(Unicode, NulIsACharacter) {
  using namespace std::string_literals;
  EXPECT_EQ(toUtf16("a\0b"s), u"a\0b"s);
  EXPECT_EQ(toUtf8(u"a\0b"s), "a\0b"s);
}

TEST(Unicode, TheLimitsOfEachLengthAreConverted) {
  for (char32_t const point :
       {0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xD7FFu, 0xE000u, 0xFFFDu, 0xFFFFu, 0x10000u, 0x10FFFFu}) {
    UString units;
    appendUnits(units, point);
    EXPECT_EQ(toUtf16(toUtf8(units)), units) << static_cast<std::uint32_t>(point);
  }
}

TEST(Unicode, OverlongSequencesAreOneReplacementAByte) {
  EXPECT_EQ(toUtf16("\xC0\xAF"), u"\uFFFD\uFFFD");
  EXPECT_EQ(toUtf16("\xE0\x80\x80"), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(toUtf16("\xF0\x80\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(Unicode, ASurrogateInUtf8IsThreeReplacements) {
  EXPECT_EQ(toUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
}

TEST(Unicode, ATruncatedSequenceIsOneReplacement) {
  EXPECT_EQ(toUtf16("\xE2\x82"), u"\uFFFD");
  EXPECT_EQ(toUtf16("\xF0\x90\x80"), u"\uFFFD");
  EXPECT_EQ(toUtf16("\xC3"), u"\uFFFD");
}

TEST(Unicode, TheCharacterAfterATruncatedSequenceIsKept) {
  EXPECT_EQ(toUtf16("\xF0\x90\x80"
                    "A"),
            u"\uFFFDA");
  EXPECT_EQ(toUtf16("\xE2\x82\xE2\x82\xAC"), u"\uFFFD\u20AC");
}

TEST(Unicode, BytesThatBeginNothingAreOneReplacementEach) {
  EXPECT_EQ(toUtf16("\x80\xBF\xFE\xFF\xF5"), u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(Unicode, BeyondTheLastCodePointIsOneReplacementAByte) {
  EXPECT_EQ(toUtf16("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(Unicode, TheStandardsExampleOfMaximalSubparts) {
  // Unicode Standard, table 3-8 and its neighbours.
  EXPECT_EQ(toUtf16("\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64"),
            u"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd");
  EXPECT_EQ(toUtf16("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), u"\uFFFD\uFFFD\uFFFD\uFFFDA");
}

TEST(Unicode, AnUnpairedSurrogateBecomesAReplacement) {
  EXPECT_EQ(toUtf8(UString{u'a', 0xD800, u'b'}), "a\uFFFDb");
  EXPECT_EQ(toUtf8(UString{0xDC00, 0xD800}), "\uFFFD\uFFFD");
  EXPECT_EQ(toUtf8(UString{0xD800, 0xD83D, 0xDE00}), "\uFFFD\U0001F600");
}

TEST(Unicode, WideTextHoldsUnitsOrCodePoints) {
  EXPECT_EQ(toWide(u"A\u65E5\U0001F600"), L"A\u65E5\U0001F600");
  EXPECT_EQ(fromWide(L"A\u65E5\U0001F600"), u"A\u65E5\U0001F600");
}

TEST(Unicode, WideTextKeepsAnUnpairedSurrogate) {
  UString const text{u'a', 0xD800, u'b', 0xDC00};
  EXPECT_EQ(fromWide(toWide(text)), text);
  EXPECT_EQ(toWide(text).size(), 4u);
}

TEST(Unicode, NamesAreEqualWithoutRegardToCase) {
  EXPECT_TRUE(equalIgnoringCase(u"Path", u"PATH"));
  EXPECT_TRUE(equalIgnoringCase(u"\u00C4\u00D6\u00FE", u"\u00E4\u00F6\u00DE"));
  EXPECT_TRUE(equalIgnoringCase(u"\u0391\u038F\u0386", u"\u03B1\u03CE\u03AC"));
  EXPECT_TRUE(equalIgnoringCase(u"\u0416\u0401\u0490", u"\u0436\u0451\u0491"));
  EXPECT_TRUE(equalIgnoringCase(u"", u""));
}

TEST(Unicode, DifferentNamesAreNotEqual) {
  EXPECT_FALSE(equalIgnoringCase(u"a", u"ab"));
  EXPECT_FALSE(equalIgnoringCase(u"[", u"{"));
  EXPECT_FALSE(equalIgnoringCase(u"@", u"`"));
  EXPECT_FALSE(equalIgnoringCase(u"\u00D7", u"\u00F7"));  // the signs of multiplication, division
  EXPECT_FALSE(equalIgnoringCase(u"\u00DF", u"ss"));      // one unit to one unit
}

TEST(Unicode, FoldingTwiceChangesNothingMore) {
  for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
    UString const text{static_cast<char16_t>(unit)};
    auto const once = foldCase(text);
    ASSERT_EQ(foldCase(once), once) << unit;
    ASSERT_EQ(once.size(), 1u);
  }
}

TEST(Unicode, RandomBytesConvertAsTheReferenceDoes) {
  std::mt19937 random(20'240'601);
  // Bytes that begin, continue and break sequences, more often than chance would have them.
  std::string const bytes =
      "Az\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEF"
      "\xF0\xF1\xF3\xF4\xF5\xFF";
  for (int i = 0; i < cases; ++i) {
    std::string text(random() % 24, '\0');
    bool const plain = random() % 4 == 0;
    for (char& byte : text)
      byte = plain ? static_cast<char>(random()) : bytes[random() % bytes.size()];
    Exact<char> const exact(text);
    ASSERT_EQ(toUtf16(exact.view()), referenceToUtf16(text)) << "case " << i;
  }
}

TEST(Unicode, RandomUnitsConvertAsTheReferenceDoes) {
  std::mt19937 random(20'240'602);
  for (int i = 0; i < cases; ++i) {
    UString text(random() % 24, u'\0');
    for (char16_t& unit : text) {
      auto const number = static_cast<char16_t>(random());
      constexpr char16_t masks[] = {0x7F, 0x7FF, 0xFFFF};
      auto const kind = random() % 5;
      unit = kind < 3 ? number & masks[kind] : static_cast<char16_t>(0xD800 | (number & 0x7FF));
    }
    Exact<char16_t> const exact(text);
    auto const utf8 = toUtf8(exact.view());
    ASSERT_EQ(utf8, referenceToUtf8(text)) << "case " << i;
    ASSERT_EQ(toUtf16(utf8), referenceToUtf16(utf8)) << "case " << i;
    ASSERT_EQ(fromWide(toWide(exact.view())), text) << "case " << i;
    ASSERT_TRUE(equalIgnoringCase(exact.view(), foldCase(text))) << "case " << i;
  }
}

TEST(Unicode, LongAsciiIsConvertedAtEveryOffset) {
  for (std::size_t length = 0; length < 40; ++length) {
    std::string utf8(length, 'x');
    UString utf16(length, u'x');
    EXPECT_EQ(toUtf16(utf8), utf16);
    EXPECT_EQ(toUtf8(utf16), utf8);
    EXPECT_EQ(toUtf16(utf8 + "\u00E4" + utf8), utf16 + u"\u00E4" + utf16);
    EXPECT_EQ(toUtf8(utf16 + u"\u00E4" + utf16), utf8 + "\u00E4" + utf8);
  }
}

}  // namespace machine
