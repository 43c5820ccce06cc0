#include <gtest/gtest.h>

#include "foundation/feature/feature.hpp"
#include "machine/machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace foundation::feature {
namespace {

using machine::RegistryValue;

class FeatureTest : public tests::MachineTest {
 protected:
  ~FeatureTest() override {
    machine().environment().removeVariable(variable);
    registry().removeValue(key, name);
  }
  void setVariable(machine::UString const& value) {
    machine().environment().setVariable(variable, value);
  }
  void setValue(RegistryValue const& value) { registry().setValue(key, name, value); }

  machine::UString const name = u"TestOfFeatures";
  machine::UString const variable = u"BRANTIX_VORTAN_FEATURE_TestOfFeatures";
  machine::RegistryKey const key{machine::RegistryRoot::localMachine,
                                 u"SOFTWARE\\Brantix\\Vortan\\Features"};
  Feature const feature{name};
};

TEST_F(FeatureTest, IsOffWithoutAValue) {
  EXPECT_EQ(feature.get(), 0);
}

TEST_F(FeatureTest, TakesANumberOfTheRegistry) {
  setValue(RegistryValue::ofDword(1));
  EXPECT_EQ(feature.get(), 1);
  setValue(RegistryValue::ofDword(0));
  EXPECT_EQ(feature.get(), 0);
  setValue(RegistryValue::ofDword(0x01020304));
  EXPECT_EQ(feature.get(), 0x01020304);
}

TEST_F(FeatureTest, TakesATextOfTheRegistry) {
  setValue(RegistryValue::ofText(u"2"));
  EXPECT_EQ(feature.get(), 2);
  setValue(RegistryValue::ofText(u"-3", machine::RegistryType::expandableString));
  EXPECT_EQ(feature.get(), -3);
  setValue(RegistryValue::ofText(u""));
  EXPECT_EQ(feature.get(), 0);
}

TEST_F(FeatureTest, EnvironmentGoesBeforeTheRegistry) {
  setValue(RegistryValue::ofDword(1));
  setVariable(u"0");
  EXPECT_EQ(feature.get(), 0);
  setVariable(u"7");
  EXPECT_EQ(feature.get(), 7);
}

TEST_F(FeatureTest, AnEmptyVariableLeavesItToTheRegistry) {
  setValue(RegistryValue::ofDword(1));
  setVariable(u"");
  EXPECT_EQ(feature.get(), 1);
}

TEST_F(FeatureTest, RefusesWhatIsNoNumber) {
  for (auto const* text : {u"yes", u"1 ", u" 1", u"1x", u"+1", u"99999999999"}) {
    setVariable(text);
    EXPECT_THROW(feature.get(), std::runtime_error);
  }
}

TEST_F(FeatureTest, NamesWhatHoldsNoNumberAndWhatItHolds) {
  auto const reason = [this]() -> std::string {
    try {
      feature.get();
      return "";
    } catch (std::runtime_error const& failure) {
      return failure.what();
    }
  };
  setValue(RegistryValue::ofText(u"perhaps"));
  EXPECT_EQ(reason(),
            "the registry value TestOfFeatures of HKEY_LOCAL_MACHINE\\SOFTWARE\\Brantix\\Vortan\\"
            "Features is \"perhaps\", which is no number");
  setVariable(u"yes");
  EXPECT_EQ(
      reason(),
      "the environment variable BRANTIX_VORTAN_FEATURE_TestOfFeatures is \"yes\", which is no "
      "number");
}

TEST_F(FeatureTest, RefusesRegistryValuesOfOtherTypesAndSizes) {
  setValue({machine::RegistryType::binary, "\1"});
  EXPECT_THROW(feature.get(), std::runtime_error);
  setValue({machine::RegistryType::dword, "\1"});
  EXPECT_THROW(feature.get(), std::runtime_error);
}

TEST_F(FeatureTest, IsReadThroughItsInterface) {
  setValue(RegistryValue::ofDword(1));
  IFeature const& named = feature;
  EXPECT_EQ(named.get(), 1);
}

TEST_F(FeatureTest, AsksTheMachineThatIsCurrent) {
  static Feature const shared(u"TestOfFeatures");
  EXPECT_EQ(shared.get(), 0);
  setValue(RegistryValue::ofDword(1));
  EXPECT_EQ(shared.get(), 1);
}

}  // namespace
}  // namespace foundation::feature
