#include <windows.h>

#include <gmock/gmock.h>
#include <shlobj.h>

#include <functional>
#include <thread>

#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/windows/com.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/shortcut_printing.hpp"
#include "tests/support/wine.hpp"

namespace {

using machine::KnownFolder;
using machine::Shortcut;
using machine::UString;
using machine::windows::interfaceFrom;
using machine::windows::UniqueCom;

TEST(WindowsShell, KnownFoldersAreAbsoluteAndDistinct) {
  std::vector<machine::UString> folders;
  for (auto const folder :
       {KnownFolder::desktop, KnownFolder::startMenu, KnownFolder::publicDesktop,
        KnownFolder::commonStartMenu, KnownFolder::programData, KnownFolder::system}) {
    auto const path = machine::current().shell().knownFolder(folder);
    EXPECT_TRUE(machine::path_grammar::isAbsolute(path));
    EXPECT_THAT(folders, testing::Not(testing::Contains(path)));
    folders.push_back(path);
  }
}

TEST(WindowsShell, TheSystemFolderHoldsTheSystemsLibraries) {
  auto const folder = machine::current().shell().knownFolder(KnownFolder::system);
  EXPECT_TRUE(machine::current().files().status(folder + u"\\kernel32.dll"));
}

/// Looks at what is in a file with nothing but the shell's own objects.
class WindowsShortcut : public tests::MachineTest {
 protected:
  static UniqueCom<IShellLinkW> newLink() {
    return interfaceFrom<IShellLinkW>("make", u"", [](void** object) {
      return CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              object);
    });
  }
  static UniqueCom<IPersistFile> fileOf(IShellLinkW& link) {
    return interfaceFrom<IPersistFile>(
        "ask", u"", [&](void** object) { return link.QueryInterface(IID_IPersistFile, object); });
  }
  static std::wstring text(std::function<HRESULT(wchar_t*, int)> const& get) {
    std::wstring buffer(1024, L'\0');
    EXPECT_EQ(get(buffer.data(), static_cast<int>(buffer.size())), S_OK);
    return buffer.c_str();
  }
  /// GetPath, but where Wine gives the path back in the machine's own code page.
  static std::wstring pathOf(IShellLinkW& link) {
    if (!tests::isWine()) {
      return text([&](auto* b, int n) { return link.GetPath(b, n, nullptr, SLGP_RAWPATH); });
    }
    PIDLIST_ABSOLUTE list = nullptr;
    EXPECT_EQ(link.GetIDList(&list), S_OK);
    std::wstring const path =
        text([&](auto* b, int) { return SHGetPathFromIDListW(list, b) ? S_OK : E_FAIL; });
    CoTaskMemFree(list);
    return path;
  }
  std::wstring path(std::u16string_view name) { return machine::toWide(at(name)); }

  Shortcut const shortcut_{u"C:\\Pr\u0416\\tool.exe",
                           u"-x \u65E5",
                           u"C:\\work",
                           u"says what",
                           u"C:\\Pr\u0416\\icons.dll",
                           7,
                           machine::WindowState::minimized,
                           true,
                           true};
};

TEST_F(WindowsShortcut, TheShellsObjectReadsEveryField) {
  machine().shell().writeShortcut(at(u"x.lnk"), shortcut_);
  machine::windows::ComScope const com;
  auto const link = newLink();
  ASSERT_EQ(fileOf(*link)->Load(path(u"x.lnk").c_str(), STGM_READ), S_OK);
  EXPECT_EQ(pathOf(*link), L"C:\\Pr\u0416\\tool.exe");
  EXPECT_EQ(text([&](auto* b, int n) { return link->GetArguments(b, n); }), L"-x \u65E5");
  EXPECT_EQ(text([&](auto* b, int n) { return link->GetWorkingDirectory(b, n); }), L"C:\\work");
  EXPECT_EQ(text([&](auto* b, int n) { return link->GetDescription(b, n); }), L"says what");
  int index = 0;
  EXPECT_EQ(text([&](auto* b, int n) { return link->GetIconLocation(b, n, &index); }),
            L"C:\\Pr\u0416\\icons.dll");
  EXPECT_EQ(index, 7);
  if (!tests::isWine()) {  // which writes the show command, and does not read it
    int command = 0;
    EXPECT_EQ(link->GetShowCmd(&command), S_OK);
    EXPECT_EQ(command, SW_SHOWMINNOACTIVE);
  }
}

TEST_F(WindowsShortcut, FlagsAndShowCommandStandInTheFilesHeader) {
  machine().shell().writeShortcut(at(u"x.lnk"), shortcut_);
  std::string const bytes = readFile(at(u"x.lnk"));
  ASSERT_GE(bytes.size(), 76u);
  EXPECT_EQ(bytes.substr(0, 4), std::string("\x4C\0\0\0", 4));
  EXPECT_EQ(bytes[21] & 0x20, 0x20) << "RunAsUser, bit 13";
  EXPECT_EQ(bytes[22] & 0x04, 0x04) << "ForceNoLinkTrack, bit 18";
  EXPECT_EQ(bytes[60], SW_SHOWMINNOACTIVE);
}

TEST_F(WindowsShortcut, OneThatTheShellsObjectSavedIsRead) {
  {
    machine::windows::ComScope const com;
    auto const link = newLink();
    link->SetPath(L"C:\\Pr\u0416\\tool.exe");
    link->SetArguments(L"-x");
    link->SetIconLocation(L"C:\\icons.dll", -3);
    ASSERT_EQ(fileOf(*link)->Save(path(u"x.lnk").c_str(), TRUE), S_OK);
  }
  auto const read = machine().shell().readShortcut(at(u"x.lnk"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->target, u"C:\\Pr\u0416\\tool.exe");
  EXPECT_EQ(read->arguments, u"-x");
  EXPECT_EQ(read->iconFile, u"C:\\icons.dll");
  EXPECT_EQ(read->iconIndex, -3);
  EXPECT_FALSE(read->runAsAdministrator);
}

TEST_F(WindowsShortcut, OneCutShortIsRefusedBeforeTheShellReadsIt) {
  machine().shell().writeShortcut(at(u"x.lnk"), shortcut_);
  writeFile(at(u"x.lnk"), readFile(at(u"x.lnk")).substr(0, 90));
  try {
    machine().shell().readShortcut(at(u"x.lnk"));
    FAIL() << "read";
  } catch (machine::SystemError const& error) {
    EXPECT_TRUE(error.is(machine::ErrorCode::invalidData));
    EXPECT_THAT(error.what(),
                testing::HasSubstr("The shortcut's item list at byte 78 is not whole. (13)"));
  }
}

/// Runs `work` on a thread of its own, whose exceptions end the test.
void onNewThread(std::function<void()> const& work) {
  std::thread(work).join();
}

APTTYPE apartment() {
  APTTYPE type = APTTYPE_CURRENT;
  APTTYPEQUALIFIER qualifier{};
  return CoGetApartmentType(&type, &qualifier) == S_OK ? type : APTTYPE_CURRENT;
}

TEST_F(WindowsShortcut, AThreadWithoutComIsWithoutItAfterwards) {
  onNewThread([&] {
    machine().shell().writeShortcut(at(u"x.lnk"), shortcut_);
    EXPECT_EQ(machine().shell().readShortcut(at(u"x.lnk")), shortcut_);
    EXPECT_EQ(apartment(), APTTYPE_CURRENT) << "not in any";
  });
}

TEST_F(WindowsShortcut, AThreadStaysInItsSingleThreadedApartment) {
  onNewThread([&] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    machine().shell().writeShortcut(at(u"x.lnk"), shortcut_);
    EXPECT_EQ(machine().shell().readShortcut(at(u"x.lnk")), shortcut_);
    EXPECT_NE(apartment(), APTTYPE_CURRENT);
    EXPECT_NE(apartment(), APTTYPE_MTA);
    CoUninitialize();
  });
}

TEST_F(WindowsShortcut, AThreadInTheMultithreadedApartmentWorksAndStaysInIt) {
  onNewThread([&] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    machine().shell().writeShortcut(at(u"x.lnk"), shortcut_);
    EXPECT_EQ(machine().shell().readShortcut(at(u"x.lnk")), shortcut_);
    EXPECT_EQ(apartment(), APTTYPE_MTA);
    CoUninitialize();
  });
}

}  // namespace
