#include <gtest/gtest.h>

#include "fl/i18n/ustring.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace fl::i18n {
namespace {

TEST(ToUstring, ReadsNarrowTextAsUtf8) {
  EXPECT_EQ(to_ustring("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), u"a\u00E9\u20AC\U0001F600");
  EXPECT_EQ(to_ustring(std::string("a\xC3\xA9")), u"a\u00E9");
  EXPECT_EQ(to_ustring(std::string_view("a\xC3\xA9")), u"a\u00E9");
}

TEST(ToUstring, TakesWideText) {
  EXPECT_EQ(to_ustring(L"a\u00E9\U0001F600"), u"a\u00E9\U0001F600");
  EXPECT_EQ(to_ustring(std::wstring(L"\u20AC")), u"\u20AC");
  EXPECT_EQ(to_ustring(std::wstring_view(L"\u20AC")), u"\u20AC");
}

TEST(ToUstring, NullPointersReadAsEmpty) {
  EXPECT_EQ(to_ustring(static_cast<char const*>(nullptr)), u"");
  EXPECT_EQ(to_ustring(static_cast<wchar_t const*>(nullptr)), u"");
}

TEST(ToUstring, KeepsNulsWithinAString) {
  EXPECT_EQ(to_ustring(std::string("a\0b", 3)), UString(u"a\0b", 3));
  EXPECT_EQ(to_ustring(std::wstring(L"a\0b", 3)), UString(u"a\0b", 3));
}

TEST(ToUstring, ReplacesEachMaximalSubpartOfIllFormedText) {
  EXPECT_EQ(to_ustring("a\x80z"), u"a\uFFFDz");                            // a continuation alone
  EXPECT_EQ(to_ustring("\xE2\x82z"), u"\uFFFDz");                          // cut off: one subpart
  EXPECT_EQ(to_ustring("\xC0\xAF"), u"\uFFFD\uFFFD");                      // overlong
  EXPECT_EQ(to_ustring("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");            // a surrogate
  EXPECT_EQ(to_ustring("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");  // beyond U+10FFFF
}

TEST(Utf8ToUstring, FollowsTheSameRules) {
  EXPECT_EQ(utf8_to_ustring("caf\xC3\xA9 \xFF"), u"caf\u00E9 \uFFFD");
  EXPECT_EQ(utf8_to_ustring(""), u"");
}

TEST(ToString, WritesUtf8) {
  EXPECT_EQ(to_string(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(ustring_to_utf8(u"a\u00E9"), "a\xC3\xA9");
}

TEST(ToString, ReplacesUnpairedSurrogates) {
  UString const high(1, char16_t{0xD83D});
  UString const low(1, char16_t{0xDE00});
  EXPECT_EQ(to_string(high + u"z"), "\xEF\xBF\xBDz");
  EXPECT_EQ(ustring_to_utf8(low + high), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(ToWstring, ComesBackUnchanged) {
  UString const text = u"C:\\\u00E9\\\U0001F600";
  EXPECT_EQ(to_wstring(text), L"C:\\\u00E9\\\U0001F600");
  EXPECT_EQ(to_ustring(to_wstring(text)), text);
}

class Getenv : public tests::MachineTest {};

TEST_F(Getenv, AnswersEmptyWhenNotSet) {
  machine().environment().removeVariable(u"REGISTRATION_TEST");
  EXPECT_EQ(getenv("REGISTRATION_TEST"), u"");
  EXPECT_EQ(getenv(nullptr), u"");
}

TEST_F(Getenv, AnswersTheValueWhateverTheCaseOfTheName) {
  ASSERT_TRUE(machine().environment().setVariable(u"REGISTRATION_TEST", u"caf\u00E9"));
  EXPECT_EQ(getenv("REGISTRATION_TEST"), u"caf\u00E9");
  EXPECT_EQ(getenv("registration_test"), u"caf\u00E9");
  machine().environment().removeVariable(u"REGISTRATION_TEST");
}

TEST_F(Getenv, ThrowsWhatTheMachineThrows) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failAt(1, machine::ErrorCode::notEnoughMemory);
  EXPECT_THROW(getenv("PATH"), machine::SystemError);
}

}  // namespace
}  // namespace fl::i18n
