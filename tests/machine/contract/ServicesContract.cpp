#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::ServiceDefinition;
using machine::ServiceState;
using machine::SystemError;

namespace {

constexpr std::chrono::milliseconds timeout = std::chrono::seconds(20);

ServiceDefinition asKept(ServiceDefinition definition, MachineUnderTest& under) {
  if (!under.keepsRecovery()) definition.recovery = {};
  return definition;
}

}  // namespace

ServiceDefinition ServicesContract::definition() {
  using Kind = machine::ServiceRecovery::Kind;
  ServiceDefinition result;
  result.displayName = u"Contract Test \u20AC";
  result.description = u"Made by a test";
  result.commandLine = u"\"" + under().serviceProgram() + u"\" " + name();
  result.start = machine::ServiceStart::manual;
  result.recovery.actions = {{Kind::restart, std::chrono::milliseconds(60000)},
                             {Kind::none, std::chrono::milliseconds(0)}};
  result.recovery.resetAfter = std::chrono::hours(24);
  return result;
}

TEST_P(ServicesContract, AMissingServiceIsNoError) {
  EXPECT_EQ(services().definition(name()), std::nullopt);
  EXPECT_EQ(services().state(name()), std::nullopt);
  EXPECT_FALSE(services().remove(name()));
  EXPECT_EQ(services().definition(u""), std::nullopt);
  EXPECT_EQ(services().definition(u"a/b"), std::nullopt);
}

TEST_P(ServicesContract, AServiceIsKeptAsItWasSet) {
  services().set(name(), definition());
  EXPECT_EQ(services().definition(name()), asKept(definition(), under()));
  EXPECT_EQ(services().state(name()), ServiceState::stopped);
}

TEST_P(ServicesContract, DescriptionsOfAFewLettersAreKeptAsLongOnesAre) {
  for (auto const* description : {u"x", u"xy", u"xyz", u"Made by a test"}) {
    auto described = definition();
    described.description = description;
    services().set(name(), described);
    EXPECT_EQ(services().definition(name()), asKept(described, under()));
  }
}

TEST_P(ServicesContract, NamesAreComparedWithoutRegardToCase) {
  services().set(name(), definition());
  EXPECT_EQ(services().definition(u"REGISTRATIONcontracttest"), asKept(definition(), under()));
}

TEST_P(ServicesContract, SettingAgainReplacesTheDefinition) {
  services().set(name(), definition());
  auto changed = definition();
  changed.displayName = u"Another";
  changed.description = u"";
  changed.commandLine += u" more";
  changed.start = machine::ServiceStart::automatic;
  changed.recovery = {};
  services().set(name(), changed);
  EXPECT_EQ(services().definition(name()), asKept(changed, under()));
}

TEST_P(ServicesContract, AServiceIsStartedAndStopped) {
  services().set(name(), definition());
  services().start(name(), timeout);
  EXPECT_EQ(services().state(name()), ServiceState::running);
  services().start(name(), timeout);
  EXPECT_EQ(services().state(name()), ServiceState::running) << "started twice";
  services().stop(name(), timeout);
  EXPECT_EQ(services().state(name()), ServiceState::stopped);
  services().stop(name(), timeout);
  EXPECT_EQ(services().state(name()), ServiceState::stopped) << "stopped twice";
}

TEST_P(ServicesContract, SettingLeavesARunningServiceRunning) {
  services().set(name(), definition());
  services().start(name(), timeout);
  services().set(name(), definition());
  EXPECT_EQ(services().state(name()), ServiceState::running);
}

TEST_P(ServicesContract, ARemovedServiceIsGone) {
  services().set(name(), definition());
  EXPECT_TRUE(services().remove(name()));
  EXPECT_EQ(services().definition(name()), std::nullopt);
  EXPECT_FALSE(services().remove(name()));
}

TEST_P(ServicesContract, AMissingServiceCannotBeStartedOrStopped) {
  EXPECT_THROW(services().start(name(), timeout), SystemError);
  EXPECT_THROW(services().stop(name(), timeout), SystemError);
}

TEST_P(ServicesContract, AServiceWithoutItsProgramDoesNotStart) {
  auto broken = definition();
  broken.commandLine = u"\"" + in(u"none.exe") + u"\"";
  services().set(name(), broken);
  EXPECT_THROW(services().start(name(), timeout), SystemError);
  EXPECT_EQ(services().state(name()), ServiceState::stopped);
}

TEST_P(ServicesContract, ADisabledServiceDoesNotStart) {
  auto disabled = definition();
  disabled.start = machine::ServiceStart::disabled;
  services().set(name(), disabled);
  EXPECT_THROW(services().start(name(), timeout), SystemError);
}

TEST_P(ServicesContract, NamesThatNoServiceCanHaveAreRefused) {
  EXPECT_THROW(services().set(u"", definition()), SystemError);
  EXPECT_THROW(services().set(u"a\\b", definition()), SystemError);
  EXPECT_THROW(services().set(std::u16string_view(u"a\0b", 3), definition()), SystemError);
}

TEST_P(ServicesContract, AServiceNeedsACommandLine) {
  auto nothing = definition();
  nothing.commandLine.clear();
  EXPECT_THROW(services().set(name(), nothing), SystemError);
  EXPECT_EQ(services().definition(name()), std::nullopt);
}

}  // namespace contract
