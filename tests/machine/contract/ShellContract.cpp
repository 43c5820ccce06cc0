#include <algorithm>
#include <vector>

#include "machine/error.hpp"
#include "tests/machine/contract/contract.hpp"
#include "tests/support/shortcut_printing.hpp"

namespace contract {

using machine::ErrorCode;
using machine::KnownFolder;
using machine::Shortcut;
using machine::UString;
using machine::WindowState;

namespace {

Shortcut plainShortcut() {
  Shortcut shortcut;
  shortcut.target = u"C:\\x\\tool.exe";
  return shortcut;
}

/// Every field other than in a new one.
Shortcut fullShortcut() {
  return {u"C:\\Program Files\\\u65E5\u672C\\\u00E4 \u0416.exe",
          u"-a \"b c\" \u65E5 100%",
          u"C:\\Users\\\u0416",
          u"What it is: \u65E5\u672C, \U0001F600",
          u"C:\\Program Files\\\u65E5\u672C\\icons.dll",
          -101,
          WindowState::maximized,
          true,
          true};
}

std::uint32_t number(ErrorCode code) {
  return static_cast<std::uint32_t>(code);
}

}  // namespace

TEST_P(ShellContract, KnownFoldersAreAbsoluteAndDistinct) {
  std::vector<machine::UString> seen;
  for (auto const folder :
       {KnownFolder::desktop, KnownFolder::startMenu, KnownFolder::publicDesktop,
        KnownFolder::commonStartMenu, KnownFolder::programData, KnownFolder::system}) {
    auto const path = machine().shell().knownFolder(folder);
    EXPECT_TRUE(machine::path_grammar::isAbsolute(path)) << machine::toUtf8(path);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), path), 0) << machine::toUtf8(path);
    seen.push_back(path);
  }
}

TEST_P(ShellContract, TheSystemFolderExists) {
  auto const status = machine().files().status(machine().shell().knownFolder(KnownFolder::system));
  ASSERT_TRUE(status);
  EXPECT_TRUE(status->isDirectory);
}

TEST_P(ShellContract, AShortcutKeepsEveryField) {
  shell().writeShortcut(in(u"full.lnk"), fullShortcut());
  EXPECT_EQ(shell().readShortcut(in(u"full.lnk")), fullShortcut());
}

TEST_P(ShellContract, AShortcutMayHaveNothingButATarget) {
  shell().writeShortcut(in(u"plain.lnk"), plainShortcut());
  EXPECT_EQ(shell().readShortcut(in(u"plain.lnk")), plainShortcut());
}

TEST_P(ShellContract, AShortcutKeepsEachStateAndFlagByItself) {
  auto minimized = plainShortcut();
  minimized.window = WindowState::minimized;
  auto elevated = plainShortcut();
  elevated.runAsAdministrator = true;
  auto fixed = plainShortcut();
  fixed.neverSearchForTarget = true;
  for (auto const& shortcut : {minimized, elevated, fixed}) {
    shell().writeShortcut(in(u"x.lnk"), shortcut);
    EXPECT_EQ(shell().readShortcut(in(u"x.lnk")), shortcut);
  }
}

TEST_P(ShellContract, AnIconIndexCountsForNothingWithoutAFile) {
  auto shortcut = plainShortcut();
  shortcut.iconIndex = 3;
  shell().writeShortcut(in(u"x.lnk"), shortcut);
  EXPECT_EQ(shell().readShortcut(in(u"x.lnk")), plainShortcut());
}

TEST_P(ShellContract, AShortcutReplacesTheFileOfItsNameAndLeavesNoOther) {
  write(in(u"x.lnk"), "something else");
  write(in(u"x.lnk.tmp"), "left by a failure");
  shell().writeShortcut(in(u"x.lnk"), fullShortcut());
  shell().writeShortcut(in(u"x.lnk"), plainShortcut());
  EXPECT_EQ(shell().readShortcut(in(u"X.LNK")), plainShortcut());
  EXPECT_EQ(list(in(u"")), "x.lnk");
}

TEST_P(ShellContract, AShortcutsFolderIsNotMade) {
  EXPECT_EQ(errorOf([&] { shell().writeShortcut(in(u"none\\x.lnk"), plainShortcut()); }),
            number(ErrorCode::pathNotFound));
  EXPECT_EQ(list(in(u"")), "");
}

TEST_P(ShellContract, AFolderIsNotReplacedByAShortcut) {
  files().createDirectory(in(u"x.lnk"));
  EXPECT_NE(errorOf([&] { shell().writeShortcut(in(u"x.lnk"), plainShortcut()); }), 0u);
  EXPECT_EQ(list(in(u"")), "x.lnk\\");
}

TEST_P(ShellContract, AShortcutMayLieDeep) {
  UString folder = in(UString(100, u'a'));
  for (int depth = 0; depth < 3; ++depth) {
    files().createDirectory(folder);
    folder += u"\\" + UString(100, u'a');
  }
  auto const path = machine::path_grammar::join(machine::path_grammar::parent(folder), u"x.lnk");
  shell().writeShortcut(path, fullShortcut());
  EXPECT_GT(path.size(), 300u);
  EXPECT_EQ(shell().readShortcut(path), fullShortcut());
}

TEST_P(ShellContract, TextsAsLongAsTheyMayBeAreKept) {
  auto const path = [](char16_t unit) {
    return u"C:\\" + UString(200, unit) + u"\\" + UString(55, unit);
  };
  Shortcut shortcut;
  shortcut.target = path(u't');
  shortcut.workingFolder = path(u'w');
  shortcut.iconFile = path(u'i');
  shortcut.description = UString(1023, u'd');
  shortcut.arguments = UString(32766, u'a');
  shell().writeShortcut(in(u"x.lnk"), shortcut);
  EXPECT_EQ(shell().readShortcut(in(u"x.lnk")), shortcut);
}

TEST_P(ShellContract, ATextThatAShortcutCannotHoldIsRefusedAndTheOldOneStays) {
  shell().writeShortcut(in(u"x.lnk"), fullShortcut());
  std::vector<std::pair<Shortcut, ErrorCode>> refused;
  auto const refuse = [&](ErrorCode code, UString Shortcut::*text, UString value) {
    refused.emplace_back(plainShortcut(), code).first.*text = std::move(value);
  };
  refuse(ErrorCode::fileNameTooLong, &Shortcut::target, u"C:\\" + UString(257, u't'));
  refuse(ErrorCode::fileNameTooLong, &Shortcut::workingFolder, UString(260, u'w'));
  refuse(ErrorCode::fileNameTooLong, &Shortcut::iconFile, UString(260, u'i'));
  refuse(ErrorCode::fileNameTooLong, &Shortcut::description, UString(1024, u'd'));
  refuse(ErrorCode::fileNameTooLong, &Shortcut::arguments, UString(32767, u'a'));
  refuse(ErrorCode::invalidParameter, &Shortcut::target, UString(u"C:\\a\0b", 6));
  refuse(ErrorCode::invalidParameter, &Shortcut::arguments, UString(1, u'\0'));
  refuse(ErrorCode::badPathName, &Shortcut::target, u"");
  refuse(ErrorCode::badPathName, &Shortcut::target, u"tool.exe");
  refuse(ErrorCode::badPathName, &Shortcut::target, u"\\tool.exe");
  for (auto const& [shortcut, code] : refused) {
    EXPECT_EQ(errorOf([&, &wrong = shortcut] { shell().writeShortcut(in(u"x.lnk"), wrong); }),
              number(code));
    EXPECT_EQ(shell().readShortcut(in(u"x.lnk")), fullShortcut());
  }
  EXPECT_EQ(list(in(u"")), "x.lnk");
}

TEST_P(ShellContract, AMissingShortcutIsNone) {
  EXPECT_EQ(shell().readShortcut(in(u"none.lnk")), std::nullopt);
  EXPECT_EQ(shell().readShortcut(in(u"none\\none.lnk")), std::nullopt);
}

TEST_P(ShellContract, AnotherFileIsNoShortcut) {
  for (std::string const& content :
       {std::string(), std::string("{}"), std::string("[InternetShortcut]"), std::string(75, 'L'),
        std::string(76, '\0'), std::string(5000, '\x4C'), std::string((1 << 20) + 1, ' ')}) {
    write(in(u"x.lnk"), content);
    EXPECT_NE(errorOf([&] { shell().readShortcut(in(u"x.lnk")); }), 0u) << content.size();
  }
  write(in(u"x.lnk"), "not a shortcut");
  EXPECT_EQ(errorOf([&] { shell().readShortcut(in(u"x.lnk")); }), number(ErrorCode::invalidData));
}

TEST_P(ShellContract, AShortcutCutShortNeverReadsAsAnother) {
  shell().writeShortcut(in(u"x.lnk"), fullShortcut());
  auto const whole = read(in(u"x.lnk"));
  // But for the last bytes, which only end the file.
  for (std::size_t size = 0; size + 8 < whole.size(); size += 7) {
    write(in(u"x.lnk"), whole.substr(0, size));
    errorOf([&] { EXPECT_NE(shell().readShortcut(in(u"x.lnk")), fullShortcut()) << size; });
  }
}

TEST_P(ShellContract, AssociationsMayBeAnnounced) {
  shell().announceAssociationsChanged();
}

}  // namespace contract
