#include <windows.h>

#include <gmock/gmock.h>

#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/machine_fixture.hpp"

namespace {

using machine::ModuleCall;
using machine::UString;

class WindowsModules : public tests::MachineTest {
 protected:
  ModuleCall call(UString const& module, std::string const& entryPoint,
                  std::array<std::string, 3> const& arguments) {
    return machine().modules().callEntryPoint(module, module, entryPoint, arguments);
  }
  static bool isLoaded(wchar_t const* module) { return GetModuleHandleW(module) != nullptr; }

  UString const automationServer_ = tests::testProgram(u"automation_server.dll");
  UString const throwing_ = tests::testProgram(u"throwing_module.dll");
};

TEST_F(WindowsModules, TheThreeTextsArriveAsTheyAre) {
  std::string const folder = machine::toUtf8(root());
  EXPECT_EQ(call(automationServer_, "RegisterOLEServer2", {folder, "a \"b\" \xE6\x97\xA5", ""}),
            ModuleCall::called);
  EXPECT_EQ(readFile(at(u"automation_server.txt")),
            "RegisterOLEServer2|" + folder + "|a \"b\" \xE6\x97\xA5|\n");
}

TEST_F(WindowsModules, TheModuleIsReleasedWhateverBecameOfTheCall) {
  call(automationServer_, "RegisterOLEServer2", {machine::toUtf8(root()), "", ""});
  EXPECT_FALSE(isLoaded(L"automation_server.dll"));
  EXPECT_EQ(call(automationServer_, "None", {}), ModuleCall::noEntryPoint);
  EXPECT_FALSE(isLoaded(L"automation_server.dll"));
  EXPECT_THROW(call(throwing_, "ThrowError", {}), std::runtime_error);
  EXPECT_FALSE(isLoaded(L"throwing_module.dll"));
}

TEST_F(WindowsModules, AModuleLoadedBeforeStaysLoaded) {
  HMODULE const before = LoadLibraryW(machine::toWide(automationServer_).c_str());
  call(automationServer_, "RegisterOLEServer2", {machine::toUtf8(root()), "", ""});
  EXPECT_TRUE(isLoaded(L"automation_server.dll"));
  FreeLibrary(before);
  EXPECT_FALSE(isLoaded(L"automation_server.dll"));
}

TEST_F(WindowsModules, AnExceptionArrivesWithItsTextThoughItsTypeIsGone) {
  EXPECT_THAT(
      [&] {
        call(throwing_, "ThrowError", {"one ", "two ", "three"});
      },
      testing::ThrowsMessage<std::runtime_error>("one two three"));
}

TEST_F(WindowsModules, WhatIsNoStandardExceptionArrivesAsOne) {
  EXPECT_THAT([&] { call(throwing_, "ThrowOther", {}); },
              testing::ThrowsMessage<std::runtime_error>(
                  "the module's function threw something that is no standard exception"));
}

TEST_F(WindowsModules, AFileThatIsNoModuleIsNotLoadedAndNobodyIsAsked) {
  DWORD const before = GetThreadErrorMode();
  writeFile(at(u"text.dll"), "no module");
  EXPECT_EQ(call(at(u"text.dll"), "RegisterOLEServer2", {}), ModuleCall::notLoaded);
  EXPECT_EQ(GetThreadErrorMode(), before);
}

}  // namespace
