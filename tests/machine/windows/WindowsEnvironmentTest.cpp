#include <windows.h>

#include <gtest/gtest.h>

#include "machine/machine.hpp"

namespace {

using machine::UString;

class WindowsEnvironment : public ::testing::Test {
 protected:
  ~WindowsEnvironment() override { environment().removeVariable(name_); }
  machine::Environment& environment() { return machine::current().environment(); }

  UString const name_ = u"REGISTRATION_TESTS_VARIABLE";
};

TEST_F(WindowsEnvironment, AnEmptyValueIsSetAndNotMissing) {
  // The system's call removes a variable for no value, not for an empty one.
  EXPECT_EQ(environment().variable(name_), std::nullopt);
  EXPECT_TRUE(environment().setVariable(name_, u""));
  EXPECT_EQ(environment().variable(name_), u"");
}

TEST_F(WindowsEnvironment, TheSystemSeesWhatIsSet) {
  EXPECT_TRUE(environment().setVariable(name_, u"\u00e4\U0001F600"));
  wchar_t value[8]{};
  EXPECT_EQ(GetEnvironmentVariableW(machine::toWide(name_).c_str(), value, 8), 3u);
  EXPECT_EQ(machine::fromWide(value), u"\u00e4\U0001F600");
}

TEST_F(WindowsEnvironment, LongValuesComeBackWhole) {
  for (std::size_t const size : {259u, 260u, 261u, 30000u}) {
    UString const value(size, u'v');
    ASSERT_TRUE(environment().setVariable(name_, value));
    EXPECT_EQ(environment().variable(name_), value);
  }
}

TEST_F(WindowsEnvironment, LastErrorIsThatOfTheLatestOperation) {
  EXPECT_FALSE(environment().setVariable(u"", u"x"));
  EXPECT_NE(environment().lastError(), 0u);
  SetLastError(12345);
  EXPECT_NE(environment().lastError(), 12345u);
  EXPECT_TRUE(environment().setVariable(name_, u"x"));
  EXPECT_EQ(environment().lastError(), 0u);
  EXPECT_EQ(environment().variable(u"REGISTRATION_TESTS_MISSING"), std::nullopt);
  EXPECT_EQ(environment().lastError(), DWORD{ERROR_ENVVAR_NOT_FOUND});
}

TEST_F(WindowsEnvironment, ANulEndsNoNameOrValue) {
  UString const nul(1, u'\0');
  EXPECT_FALSE(environment().setVariable(name_, u"x" + nul + u"y"));
  EXPECT_EQ(environment().lastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_FALSE(environment().setVariable(name_ + nul, u"x"));
  EXPECT_EQ(environment().variable(name_), std::nullopt);
  EXPECT_TRUE(environment().setVariable(name_, u"x"));
  EXPECT_EQ(environment().variable(name_ + nul), std::nullopt);
  EXPECT_FALSE(environment().removeVariable(name_ + nul));
  EXPECT_EQ(environment().variable(name_), u"x");
}

TEST_F(WindowsEnvironment, RemovingWhatIsNotSetIsFine) {
  EXPECT_TRUE(environment().removeVariable(name_));
}

TEST_F(WindowsEnvironment, TheBroadcastAnswersTheCallsOwnResult) {
  EXPECT_NE(environment().broadcastSettingChange(), 0);
}

}  // namespace
