#include <gtest/gtest.h>

#include <stdexcept>

#include "tools/regplan/report/html.hpp"

namespace regplan::html {
namespace {

std::string odd(std::string const& name) {
  return "<span class=\"odd\">" + name + "</span>";
}

TEST(HtmlText, EscapesWhatHtmlObeys) {
  EXPECT_EQ(text(u"<b a=\"c\" d='e'>&amp;"), "&lt;b a=&quot;c&quot; d=&#39;e&#39;&gt;&amp;amp;");
}

TEST(HtmlText, MarksWhatCannotBeSeen) {
  EXPECT_EQ(text(u"a\u202Eb"), "a" + odd("U+202E") + "b");
  EXPECT_EQ(text(u"\u2066\u200B\uFEFF"), odd("U+2066") + odd("U+200B") + odd("U+FEFF"));
  EXPECT_EQ(text(std::u16string(u"\0\n\x1B\x7F\u0085", 5)),
            odd("U+0000") + odd("U+000A") + odd("U+001B") + odd("U+007F") + odd("U+0085"));
  EXPECT_EQ(text(u"\U000E0041"), odd("U+E0041"));
}

TEST(HtmlText, MarksUnpairedSurrogates) {
  EXPECT_EQ(text(std::u16string{char16_t(0xD83D), u'a', char16_t(0xDE00)}),
            odd("U+D83D") + "a" + odd("U+DE00"));
}

TEST(HtmlText, KeepsTabsAndOtherScripts) {
  EXPECT_EQ(text(u"\t\u05D0 \u00E4 \U0001F600"), "\t\u05D0 \u00E4 \U0001F600");
}

TEST(HtmlText, TakesIllFormedUtf8) {
  EXPECT_EQ(text(std::string_view("a\xFF")), "a\uFFFD");
}

TEST(HtmlText, CutsLongTextsAndSaysSo) {
  EXPECT_EQ(text(u"abcdef", 4), "abcd" + odd("2 more characters not shown"));
  EXPECT_EQ(text(u"abcd", 4), "abcd");
  EXPECT_EQ(text(u"abc\U0001F600", 4), "abc\U0001F600");
}

TEST(HtmlBareText, HasNoElements) {
  EXPECT_EQ(bareText("<\u202E>"), "&lt;[U+202E]&gt;");
}

TEST(HtmlFilled, ReplacesNamesAndDoesNotReadValues) {
  EXPECT_EQ(filled("<{{a}}|{{b}}|{{a}}>", {{"a", "{{b}}"}, {"b", "2"}}), "<{{b}}|2|{{b}}>");
  EXPECT_THROW(filled("{{c}}", {{"a", ""}}), std::logic_error);
  EXPECT_THROW(filled("{{a", {{"a", ""}}), std::logic_error);
}

/// The example of the Content Security Policy specification, Level 3, "Usage of hashes".
TEST(HtmlPolicyHash, IsSha256InBase64) {
  EXPECT_EQ(policyHash("alert('Hello, world.');"),
            "'sha256-qznLcsROx4GACP2dm0UCKCzCG+HiZ1guq6ZZDob/Tng='");
}

}  // namespace
}  // namespace regplan::html
