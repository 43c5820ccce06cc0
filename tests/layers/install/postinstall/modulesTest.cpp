#include <gtest/gtest.h>

#include "install/postinstall/modules.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"
#include "tests/support/trouble_capture.hpp"

namespace install::postinstall {
namespace {

class RecordedModules : public machine::Modules {
 public:
  machine::ModuleCall callEntryPoint(std::u16string_view name, std::u16string_view path,
                                     std::string const& function,
                                     std::array<std::string, 3> const& texts) override {
    module = name;
    file = path;
    if (isOther) throw machine::OtherModule(path, u"C:\\planted.dll");
    entryPoint = function;
    arguments = texts;
    return result;
  }
  bool admitBundles(std::u16string_view, std::vector<machine::UString> const&) override {
    return false;
  }

  bool isOther = false;
  machine::UString module;
  machine::UString file;
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
  EXPECT_TRUE(
      callEntryPoint(L"caf\u00e9.dll", u"C:\\caf\u00e9.dll", "Function", {"one", "", "three"}));
  EXPECT_EQ(modules_.module, u"caf\u00e9.dll");
  EXPECT_EQ(modules_.file, u"C:\\caf\u00e9.dll");
  EXPECT_EQ(modules_.entryPoint, "Function");
  EXPECT_EQ(modules_.arguments, (std::array<std::string, 3>{"one", "", "three"}));
}

TEST_F(CallEntryPoint, IsTrueOnlyWhenTheFunctionWasCalled) {
  modules_.result = machine::ModuleCall::notLoaded;
  EXPECT_FALSE(callEntryPoint(L"a.dll", u"C:\\a.dll", "Function", {}));
  modules_.result = machine::ModuleCall::noEntryPoint;
  EXPECT_FALSE(callEntryPoint(L"a.dll", u"C:\\a.dll", "Function", {}));
}

TEST_F(CallEntryPoint, AnotherModuleIsAFailureThatNamesIt) {
  tests::TroubleCapture const trouble;
  modules_.isOther = true;
  EXPECT_FALSE(callEntryPoint(L"a.dll", u"C:\\a.dll", "Function", {}));
  EXPECT_EQ(trouble.errors(u"C:\\planted.dll was found in place of C:\\a.dll; it was released"),
            1u);
  EXPECT_EQ(trouble.reports().size(), 1u);
}

}  // namespace
}  // namespace install::postinstall
