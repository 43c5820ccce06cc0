#include <gtest/gtest.h>

#include "install/postinstall/environment.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

class FixedEnvironment : public machine::Environment {
 public:
  std::optional<machine::UString> variable(std::u16string_view) override { return {}; }
  bool setVariable(std::u16string_view, std::u16string_view) override { return accepts; }
  bool removeVariable(std::u16string_view) override { return accepts; }
  std::intptr_t broadcastSettingChange() override { return result; }
  std::uint32_t lastError() override { return error; }
  machine::UString account() override { return u"S-1-5-18"; }

  bool accepts = true;
  std::intptr_t result = 1;
  std::uint32_t error = 0;
};

class Environment : public tests::MachineTest {};

TEST_F(Environment, SetsAVariableOfThisProcess) {
  EXPECT_TRUE(setProcessVariable(u"REGISTRATION_TEST", u"one"));
  EXPECT_EQ(machine().environment().variable(u"registration_test"), u"one");
  EXPECT_TRUE(setProcessVariable(u"Registration_Test", u"two"));
  EXPECT_EQ(machine().environment().variable(u"REGISTRATION_TEST"), u"two");
  machine().environment().removeVariable(u"REGISTRATION_TEST");
}

TEST_F(Environment, TellsWhatTheSystemAnswered) {
  FixedEnvironment environment;
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(environment);
  machine::ScopedMachine const scope(substituted);
  EXPECT_EQ(broadcastEnvironmentChange(), 1);
  environment.result = -1;
  EXPECT_EQ(broadcastEnvironmentChange(), -1);
  environment.accepts = false;
  EXPECT_FALSE(setProcessVariable(u"a", u"b"));
}

TEST_F(Environment, LastErrorIsDecimal) {
  FixedEnvironment environment;
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(environment);
  machine::ScopedMachine const scope(substituted);
  EXPECT_EQ(lastErrorText(), u"0");
  environment.error = 1460;
  EXPECT_EQ(lastErrorText(), u"1460");
  environment.error = 0xFFFFFFFF;
  EXPECT_EQ(lastErrorText(), u"4294967295");
}

}  // namespace
}  // namespace install::postinstall
