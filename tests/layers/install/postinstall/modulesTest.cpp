#include <gtest/gtest.h>

#include "install/postinstall/modules.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

class RecordedModules : public machine::Modules {
 public:
  machine::ModuleCall callEntryPoint(std::u16string_view name, std::string const& function,
                                     std::array<std::string, 3> const& texts) override {
    module = name;
    entryPoint = function;
    arguments = texts;
    return result;
  }
  bool admitBundles(std::u16string_view, std::vector<machine::UString> const&) override {
    return false;
  }

  machine::UString module;
  std::string entryPoint;
  std::array<std::string, 3> arguments;
  machine::ModuleCall result = machine::ModuleCall::called;
};

class CallEntryPoint : public tests::MachineTest {
 protected:
  CallEntryPoint() { substituted_.replace(modules_); }

  RecordedModules modules_;

 private:
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine scope_{substituted_};
};

TEST_F(CallEntryPoint, PassesNameFunctionAndTexts) {
  EXPECT_TRUE(callEntryPoint(L"caf\u00e9.dll", "Function", {"one", "", "three"}));
  EXPECT_EQ(modules_.module, u"caf\u00e9.dll");
  EXPECT_EQ(modules_.entryPoint, "Function");
  EXPECT_EQ(modules_.arguments, (std::array<std::string, 3>{"one", "", "three"}));
}

TEST_F(CallEntryPoint, IsTrueOnlyWhenTheFunctionWasCalled) {
  modules_.result = machine::ModuleCall::notLoaded;
  EXPECT_FALSE(callEntryPoint(L"a.dll", "Function", {}));
  modules_.result = machine::ModuleCall::noEntryPoint;
  EXPECT_FALSE(callEntryPoint(L"a.dll", "Function", {}));
}

}  // namespace
}  // namespace install::postinstall
