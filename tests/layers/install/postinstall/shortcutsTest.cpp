#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "fl/i18n/ustring.hpp"
#include "install/postinstall/shortcuts.hpp"
#include "machine/error.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/redirected_shell.hpp"
#include "tests/support/shortcut_printing.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

using machine::Shortcut;
using machine::UString;
using machine::WindowState;

class ShortcutsTest : public tests::MachineTest {
 protected:
  std::optional<Shortcut> read(std::u16string_view name) {
    return machine().shell().readShortcut(at(name));
  }
  /// The message of the exception that `call` throws; empty when it throws none.
  static std::string failure(std::function<void()> const& call) {
    try {
      call();
      return "";
    } catch (std::exception const& error) {
      return error.what();
    }
  }

  tests::RedirectedShell shell_{machine().shell(), root()};
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine const scope_{(substituted_.replace(shell_), substituted_)};
};

class CreateDesktopShortcutTest : public ShortcutsTest {
 protected:
  static void create(wchar_t const* target, wchar_t const* name = L"Tool.lnk") {
    CreateDesktopShortcut(target, nullptr, name, nullptr, L"", L"", 0, 0);
  }
  Shortcut withIcon(wchar_t const* location) {
    CreateDesktopShortcut(L"C:\\x\\tool.exe", nullptr, L"icon.lnk", location, L"", L"", 0, 0);
    return read(u"Desktop\\icon.lnk").value();
  }
};

class CreateStartMenuShortcutTest : public ShortcutsTest {
 protected:
  static void create(wchar_t const* folder, wchar_t const* name = L"Tool.lnk") {
    CreateStartMenuShortcut(L"C:\\x\\tool.exe", nullptr, name, nullptr, folder, L"", L"", 0, 0, 0);
  }
};

TEST_F(CreateDesktopShortcutTest, EveryParameterHasItsPlace) {
  CreateDesktopShortcut(L"C:\\x\\tool.exe", L"C:\\work", L"My Tool.lnk", L"C:\\x\\icons.dll,3",
                        L"-a \"b\"", L"says what", 1, 1);
  EXPECT_EQ(read(u"Desktop\\My Tool.lnk"),
            (Shortcut{u"C:\\x\\tool.exe", u"-a \"b\"", u"C:\\work", u"says what",
                      u"C:\\x\\icons.dll", 3, WindowState::maximized, true, false}));
}

TEST_F(CreateDesktopShortcutTest, NullIsTheSameAsEmpty) {
  CreateDesktopShortcut(L"C:\\x\\tool.exe", nullptr, L"a.lnk", nullptr, nullptr, nullptr, 0, 0);
  CreateDesktopShortcut(L"C:\\x\\tool.exe", L"", L"b.lnk", L"", L"", L"", 0, 0);
  Shortcut plain;
  plain.target = u"C:\\x\\tool.exe";
  plain.workingFolder = u"C:\\x";
  EXPECT_EQ(read(u"Desktop\\a.lnk"), plain);
  EXPECT_EQ(read(u"Desktop\\b.lnk"), plain);
}

TEST_F(CreateDesktopShortcutTest, EachFlagWorksByItself) {
  CreateDesktopShortcut(L"C:\\x\\t.exe", nullptr, L"f1.lnk", nullptr, L"", L"", 1, 0);
  CreateDesktopShortcut(L"C:\\x\\t.exe", nullptr, L"f2.lnk", nullptr, L"", L"", 0, 1);
  EXPECT_TRUE(read(u"Desktop\\f1.lnk")->runAsAdministrator);
  EXPECT_EQ(read(u"Desktop\\f1.lnk")->window, WindowState::normal);
  EXPECT_FALSE(read(u"Desktop\\f2.lnk")->runAsAdministrator);
  EXPECT_EQ(read(u"Desktop\\f2.lnk")->window, WindowState::maximized);
}

TEST_F(CreateDesktopShortcutTest, AnIconLocationIsAFileWithOrWithoutAnIndex) {
  EXPECT_EQ(withIcon(L"C:\\a.ico").iconFile, u"C:\\a.ico");
  EXPECT_EQ(withIcon(L"C:\\a.dll,-101").iconFile, u"C:\\a.dll");
  EXPECT_EQ(withIcon(L"C:\\a.dll,-101").iconIndex, -101);
  EXPECT_EQ(withIcon(L"C:\\a,b\\c.ico").iconFile, u"C:\\a,b\\c.ico");
  EXPECT_EQ(withIcon(L"C:\\a,b\\c.ico,2").iconFile, u"C:\\a,b\\c.ico");
  EXPECT_EQ(withIcon(L"C:\\a.ico,").iconFile, u"C:\\a.ico,");
  for (auto const* notANumber : {L"C:\\a,99999999999", L"C:\\a,1x", L"C:\\a, 1"}) {
    EXPECT_EQ(withIcon(notANumber).iconFile, fl::i18n::to_ustring(notANumber));
    EXPECT_EQ(withIcon(notANumber).iconIndex, 0);
  }
}

TEST_F(CreateDesktopShortcutTest, ATargetIsMadeAbsoluteAndNative) {
  create(L"C:/x/y/../tool.exe");
  EXPECT_EQ(read(u"Desktop\\Tool.lnk")->target, u"C:\\x\\tool.exe");
  create(L"tool.exe");
  EXPECT_EQ(read(u"Desktop\\Tool.lnk")->target,
            machine::path_grammar::join(files().currentDirectory(), u"tool.exe"));
}

TEST_F(CreateDesktopShortcutTest, TextsOfAnyScriptAreKept) {
  CreateDesktopShortcut(L"C:\\\u65e5\\\u0416.exe", nullptr, L"\u00e4 \u65e5.lnk", nullptr,
                        L"\u0416", L"\u65e5", 0, 0);
  auto const shortcut = read(u"Desktop\\\u00e4 \u65e5.lnk");
  ASSERT_TRUE(shortcut);
  EXPECT_EQ(shortcut->target, u"C:\\\u65e5\\\u0416.exe");
  EXPECT_EQ(shortcut->arguments, u"\u0416");
  EXPECT_EQ(shortcut->description, u"\u65e5");
}

TEST_F(CreateDesktopShortcutTest, AMissingDesktopIsMade) {
  EXPECT_FALSE(exists(at(u"Desktop")));
  create(L"C:\\x\\tool.exe");
  EXPECT_TRUE(exists(at(u"Desktop\\Tool.lnk")));
}

TEST_F(CreateDesktopShortcutTest, AnotherShortcutOfTheNameIsReplaced) {
  create(L"C:\\old.exe");
  create(L"C:\\new.exe");
  EXPECT_EQ(read(u"Desktop\\Tool.lnk")->target, u"C:\\new.exe");
}

TEST_F(CreateDesktopShortcutTest, AnEmptyTargetIsRefused) {
  EXPECT_EQ(failure([] { create(L""); }), "shortcut: no target for \"Tool.lnk\"");
  EXPECT_THROW(create(nullptr), std::invalid_argument);
  EXPECT_FALSE(exists(at(u"Desktop")));
}

TEST_F(CreateDesktopShortcutTest, AFileNameThatLeavesTheFolderIsRefused) {
  for (auto const* name :
       {L"", L".", L"..", L"...", L". ", L" ", L"..\\Tool.lnk", L"../Tool.lnk", L"a\\Tool.lnk",
        L"a/Tool.lnk", L"C:\\Tool.lnk", L"C:Tool.lnk", L"\\Tool.lnk", L"Tool.lnk:stream"}) {
    EXPECT_THROW(create(L"C:\\x\\tool.exe", name), std::invalid_argument);
  }
  EXPECT_THROW(create(L"C:\\x\\tool.exe", nullptr), std::invalid_argument);
  EXPECT_EQ(failure([] { create(L"C:\\x\\tool.exe", L"..\\Tool.lnk"); }),
            "shortcut: no file name: \"..\\Tool.lnk\"");
  EXPECT_FALSE(exists(at(u"Desktop")));
}

TEST_F(CreateDesktopShortcutTest, ATargetBeyondWhatAShortcutHoldsIsRefusedByName) {
  std::wstring const target = L"C:\\" + std::wstring(300, L't');
  std::string const text = failure([&] { create(target.c_str()); });
  EXPECT_NE(text.find("Desktop\\Tool.lnk"), std::string::npos) << text;
  EXPECT_FALSE(exists(at(u"Desktop\\Tool.lnk")));
}

TEST_F(CreateDesktopShortcutTest, WhicheverCallFailsTheOldShortcutStays) {
  create(L"C:\\old.exe");
  tests::FaultyMachine faulty(substituted_);
  machine::ScopedMachine const scope(faulty);
  create(L"C:\\old.exe");
  auto const calls = faulty.faults().count();
  ASSERT_GE(calls, 2u);
  for (std::size_t n = 1; n <= calls; ++n) {
    faulty.faults().failAt(n, machine::ErrorCode::accessDenied);
    EXPECT_THROW(create(L"C:\\new.exe"), std::exception) << n;
    EXPECT_EQ(read(u"Desktop\\Tool.lnk")->target, u"C:\\old.exe") << n;
  }
}

TEST_F(CreateStartMenuShortcutTest, EveryParameterHasItsPlace) {
  CreateStartMenuShortcut(L"C:\\x\\tool.exe", L"C:\\work", L"My Tool.lnk", L"C:\\x\\icons.dll,3",
                          L"Vortan\\Tools", L"-a", L"says what", 1, 1, 1);
  EXPECT_EQ(read(u"Programs\\Vortan\\Tools\\My Tool.lnk"),
            (Shortcut{u"C:\\x\\tool.exe", u"-a", u"C:\\work", u"says what", u"C:\\x\\icons.dll", 3,
                      WindowState::maximized, true, true}));
}

TEST_F(CreateStartMenuShortcutTest, EachFlagWorksByItself) {
  for (int flag = 1; flag <= 3; ++flag) {
    CreateStartMenuShortcut(L"C:\\x\\tool.exe", nullptr, L"x.lnk", nullptr, L"", L"", L"",
                            flag == 1, flag == 2, flag == 3);
    auto const shortcut = read(u"Programs\\x.lnk").value();
    EXPECT_EQ(shortcut.runAsAdministrator, flag == 1);
    EXPECT_EQ(shortcut.window == WindowState::maximized, flag == 2);
    EXPECT_EQ(shortcut.neverSearchForTarget, flag == 3);
  }
}

TEST_F(CreateStartMenuShortcutTest, WithoutAFolderItLiesInThePrograms) {
  create(L"");
  EXPECT_TRUE(exists(at(u"Programs\\Tool.lnk")));
  create(nullptr, L"Other.lnk");
  EXPECT_TRUE(exists(at(u"Programs\\Other.lnk")));
}

TEST_F(CreateStartMenuShortcutTest, FoldersAreMadeWhenMissingAndUsedWhenThere) {
  create(L"Vortan/R1\\");
  create(L"Vortan\\R1", L"Second.lnk");
  EXPECT_TRUE(exists(at(u"Programs\\Vortan\\R1\\Tool.lnk")));
  EXPECT_TRUE(exists(at(u"Programs\\Vortan\\R1\\Second.lnk")));
}

TEST_F(CreateStartMenuShortcutTest, AFolderThatLeadsElsewhereIsRefused) {
  for (auto const* folder :
       {L"..", L"..\\x", L"a\\..\\..\\x", L"a/../x", L".", L"a\\. ", L"C:\\x", L"C:x", L"\\x",
        L"/x", L"\\\\srv\\share", L"\\\\?\\C:\\x", L"a:b", L"a\\b:c", L" ", L"..."}) {
    EXPECT_THROW(create(folder), std::invalid_argument);
  }
  EXPECT_FALSE(exists(at(u"Programs")));
  EXPECT_FALSE(exists(at(u"x")));
}

TEST_F(CreateStartMenuShortcutTest, AFileNameThatLeavesTheFolderIsRefused) {
  EXPECT_THROW(create(L"Vortan", L"..\\Tool.lnk"), std::invalid_argument);
  EXPECT_FALSE(exists(at(u"Programs")));
}

#if !defined(_WIN32)  // links, made where the simulated machine keeps its files
TEST_F(CreateStartMenuShortcutTest, ASubFolderThatIsALinkIsRefused) {
  makeDirectory(at(u"outside"));
  makeDirectory(at(u"Programs"));
  std::filesystem::create_directory_symlink(hostPath(at(u"outside")),
                                            hostPath(at(u"Programs\\Vortan")));
  EXPECT_EQ(
      failure([] { create(L"Vortan"); }),
      "shortcut: a link leads elsewhere: \"" + machine::toUtf8(at(u"Programs\\Vortan")) + "\"");
  EXPECT_FALSE(exists(at(u"outside\\Tool.lnk")));
}
#endif

}  // namespace
}  // namespace install::postinstall
