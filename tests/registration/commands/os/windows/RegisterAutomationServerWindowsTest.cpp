#include <windows.h>

#include <gtest/gtest.h>

#include "fl/filesystem/operations.hpp"
#include "registration/commands/RegisterAutomationServer.hpp"
#include "tests/registration/commands/windows/product_fixture.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

class RegisterAutomationServerOnWindows : public tests::ProductTest {
 protected:
  RegisterAutomationServer command(UString const& module) const {
    return {tests::plainOptions(), module, folder_, u"caf\u00e9 \"x\""};
  }

  Path const before_ = fl::filesystem::get_current_path();
  Path const folder_ = root() / u"a folder \u65e5";
  tests::LogCapture log_;
};

TEST_F(RegisterAutomationServerOnWindows, TheModuleGetsFolderArgumentAndExecutable) {
  copy(u"automation_server.dll", folder_, u"a server.dll");
  command(u"a server.dll").execute();
  command(u"a server.dll").undo();
  std::string const texts =
      "|" + fl::i18n::to_string(folder_.ustring()) + "|caf\xC3\xA9 \"x\"|VORTAN.exe\n";
  EXPECT_EQ(readFile(folder_ / u"automation_server.txt"),
            "RegisterOLEServer2" + texts + "UnRegisterOLEServer2" + texts);
  EXPECT_EQ(log_.messages(),
            (Lines{u"Successfully registered a server.dll as an automation server",
                   u"Successfully unregistered a server.dll as an automation server"}));
  EXPECT_EQ(fl::filesystem::get_current_path(), before_);
}

/// A module of that name that the process has loaded already comes first in Windows' search.
TEST_F(RegisterAutomationServerOnWindows, AnotherModuleOfThatNameIsToldAndNothingOfItIsCalled) {
  Path const planted = copy(u"automation_server.dll", root() / u"planted", u"a server.dll");
  copy(u"automation_server.dll", folder_, u"a server.dll");
  HMODULE const loaded = LoadLibraryW(fl::i18n::to_wstring(planted.ustring()).c_str());
  ASSERT_NE(loaded, nullptr);
  tests::TroubleCapture const trouble;
  command(u"a server.dll").execute();
  FreeLibrary(loaded);
  EXPECT_EQ(log_.messages(), Lines{u"Failed to register a server.dll as an automation server"});
  EXPECT_EQ(trouble.errors(u"planted\\a server.dll was found in place of " +
                           (folder_ / u"a server.dll").ustring()),
            1u);
  EXPECT_FALSE(exists(folder_ / u"automation_server.txt")) << "what the function writes";
  EXPECT_EQ(GetModuleHandleW(L"a server.dll"), nullptr) << "it is released";
  EXPECT_EQ(fl::filesystem::get_current_path(), before_);
}

TEST_F(RegisterAutomationServerOnWindows, ModuleWithoutTheFunctionsFails) {
  copy(u"com_server.dll", folder_);
  command(u"com_server.dll").execute();
  command(u"com_server.dll").undo();
  EXPECT_EQ(log_.messages(),
            (Lines{u"Failed to register com_server.dll as an automation server",
                   u"Failed to unregister com_server.dll as an automation server"}));
  EXPECT_EQ(fl::filesystem::get_current_path(), before_);
}

TEST_F(RegisterAutomationServerOnWindows, FileThatIsNoModuleFails) {
  writeFile(folder_ / u"text.dll", "no module");
  command(u"text.dll").execute();
  EXPECT_EQ(log_.messages(), Lines{u"Failed to register text.dll as an automation server"});
}

TEST_F(RegisterAutomationServerOnWindows, FolderInPlaceOfAModuleFails) {
  writeFile(folder_ / u"x", "");
  command(u"").execute();
  EXPECT_EQ(log_.messages(), Lines{u"Failed to register  as an automation server"});
}

TEST_F(RegisterAutomationServerOnWindows, MissingModuleIsOneLine) {
  command(u"none.dll").execute();
  EXPECT_EQ(log_.messages(), Lines{(folder_ / u"none.dll").ustring() + u" does not exist"});
}

}  // namespace
}  // namespace registration::commands
