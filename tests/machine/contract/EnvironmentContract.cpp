#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::UString;

namespace {

constexpr auto name = u"CONTRACT_TEST_Variable";

}  // namespace

TEST_P(EnvironmentContract, AVariableNotSetIsNone) {
  environment().removeVariable(name);
  EXPECT_FALSE(environment().variable(name));
  EXPECT_NE(environment().lastError(), 0u);
}

TEST_P(EnvironmentContract, ASetVariableIsReadWithoutRegardToCase) {
  EXPECT_TRUE(environment().setVariable(name, u"a value = \u00E4 \U0001F600"));
  EXPECT_EQ(environment().variable(u"contract_test_VARIABLE"), u"a value = \u00E4 \U0001F600");
  EXPECT_TRUE(environment().removeVariable(u"contract_test_VARIABLE"));
  EXPECT_FALSE(environment().variable(name));
}

TEST_P(EnvironmentContract, AnEmptyValueIsAValue) {
  EXPECT_TRUE(environment().setVariable(name, u""));
  EXPECT_EQ(environment().variable(name), u"");
  environment().removeVariable(name);
}

TEST_P(EnvironmentContract, ALongValueIsKept) {
  UString const longValue(20'000, u'v');
  EXPECT_TRUE(environment().setVariable(name, longValue));
  EXPECT_EQ(environment().variable(name), longValue);
  environment().removeVariable(name);
}

TEST_P(EnvironmentContract, RemovingAVariableNotSetIsFine) {
  environment().removeVariable(name);
  EXPECT_TRUE(environment().removeVariable(name));
}

TEST_P(EnvironmentContract, ANameWithAnEqualsSignIsRefused) {
  EXPECT_FALSE(environment().setVariable(u"A=B", u"value"));
  EXPECT_EQ(environment().lastError(),
            static_cast<std::uint32_t>(machine::ErrorCode::invalidParameter));
}

TEST_P(EnvironmentContract, AnEmptyNameIsRefused) {
  EXPECT_FALSE(environment().setVariable(u"", u"value"));
}

TEST_P(EnvironmentContract, AWindowsHasItsVariables) {
  EXPECT_TRUE(environment().variable(u"SystemRoot"));
  EXPECT_TRUE(environment().variable(u"PATH"));
}

TEST_P(EnvironmentContract, TheBroadcastSucceeds) {
  EXPECT_NE(environment().broadcastSettingChange(), 0);
}

}  // namespace contract
