#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "machine/error.hpp"
#include "registration/commands/CreateDesktopShortcuts.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/redirected_shell.hpp"
#include "tests/support/shortcut_printing.hpp"
#include "tests/support/substituted_machine.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

utility::Options optionsWith(bool isSkipped, bool isRequested) {
  utility::Options::Values values;
  values.systemIntegrationSkipped = isSkipped;
  values.desktopShortcutRequested = isRequested;
  return utility::Options(values);
}

/// The library call replaced by a record of it.
class Recorded : public CreateDesktopShortcuts {
 public:
  Recorded(utility::Options const& given, UString const& target, UString const& name,
           bool first = false, bool second = false)
      : CreateDesktopShortcuts(given, target, u"second", u"third", name, first, second) {}
  explicit Recorded(UString const& target = u"C:\\x\\bin\\tool.exe", UString const& name = u"")
      : Recorded(optionsWith(false, true), target, name) {}

  struct Call {
    std::vector<std::wstring> texts;  ///< "(null)" for a null pointer
    std::vector<bool> flags;
    bool operator==(Call const&) const = default;
  };
  std::vector<Call> mutable calls;
  Lines mutable log;
  std::function<void()> whenCalled = [] {};

 protected:
  void createDesktopShortcutWrapper(wchar_t const* target, wchar_t const* p2,
                                    wchar_t const* fileName, wchar_t const* p4, wchar_t const* p5,
                                    wchar_t const* p6, bool f1, bool f2) const override {
    calls.push_back(
        {{orNone(target), orNone(p2), orNone(fileName), orNone(p4), orNone(p5), orNone(p6)},
         {f1, f2}});
    whenCalled();
  }
  void log_message(UString const& message) const override { log.push_back(message); }

 private:
  static std::wstring orNone(wchar_t const* text) { return text ? text : L"(null)"; }
};

TEST(CreateDesktopShortcuts, PassesTheTextsInTheLibrarysOrderWithNullsBetween) {
  Recorded const command;
  command.execute();
  ASSERT_EQ(command.calls.size(), 1u);
  EXPECT_EQ(command.calls[0].texts,
            (std::vector<std::wstring>{L"C:\\x\\bin\\tool.exe", L"(null)", L"tool.lnk", L"(null)",
                                       L"second", L"third"}));
  EXPECT_EQ(command.log,
            (Lines{u"Creating desktop shortcut for C:\\x\\bin\\tool.exe",
                   u"Successfully created desktop shortcut for C:\\x\\bin\\tool.exe"}));
}

TEST(CreateDesktopShortcuts, PassesTheSecondFlagBeforeTheFirst) {
  for (bool const flag1 : {false, true}) {
    for (bool const flag2 : {false, true}) {
      Recorded const command(optionsWith(false, true), u"C:\\t.exe", u"", flag1, flag2);
      command.execute();
      EXPECT_EQ(command.calls.at(0).flags, (std::vector<bool>{flag2, flag1}));
    }
  }
}

TEST(CreateDesktopShortcuts, AShortcutNameIsUsedInPlaceOfTheTargets) {
  Recorded const command(u"C:\\x\\bin\\tool.exe", u"My Tool");
  command.execute();
  EXPECT_EQ(command.calls.at(0).texts.at(2), L"My Tool.lnk");
}

TEST(CreateDesktopShortcuts, AShortcutNameIsEnoughWithoutATarget) {
  Recorded const command(u"", u"My Tool");
  command.execute();
  EXPECT_EQ(command.calls.at(0).texts.at(0), L"");
  EXPECT_EQ(command.log, (Lines{u"Creating desktop shortcut for ",
                                u"Successfully created desktop shortcut for "}));
}

TEST(CreateDesktopShortcuts, ExecuteActsOnlyWhenRequestedAndNotSkipped) {
  for (bool const isSkipped : {false, true}) {
    for (bool const isRequested : {false, true}) {
      Recorded const command(optionsWith(isSkipped, isRequested), u"C:\\t.exe", u"");
      command.execute();
      bool const acts = !isSkipped && isRequested;
      EXPECT_EQ(command.calls.size(), acts ? 1u : 0u) << isSkipped << isRequested;
      EXPECT_EQ(command.log.size(), acts ? 2u : 0u) << isSkipped << isRequested;
    }
  }
}

TEST(CreateDesktopShortcuts, OtherRequestsDoNotCount) {
  utility::Options::Values values;
  values.desktopShortcutRequested = values.startMenuShortcutRequested = true;
  values.fileAssociationRequested = values.scheduledServicesEnabled = true;
  values.desktopShortcutRequested = false;
  Recorded const command(utility::Options(values), u"C:\\t.exe", u"");
  command.execute();
  command.undo();
  EXPECT_TRUE(command.calls.empty());
  EXPECT_TRUE(command.log.empty());
}

TEST(CreateDesktopShortcuts, ExecuteWithNeitherTargetNorNameLogsOneLineAndCallsNothing) {
  Recorded const command(u"", u"");
  command.execute();
  EXPECT_TRUE(command.calls.empty());
  EXPECT_EQ(command.log,
            Lines{u"Exception while creating desktop shortcut for Exception in command_impls: "
                  u"executable file path cannot be empty"});
}

TEST(CreateDesktopShortcuts, AFailureOfTheLibraryIsOneLineInPlaceOfTheSuccess) {
  Recorded command(u"C:\\\u00e4\u65e5\\tool.exe");
  command.whenCalled = [] { throw std::runtime_error("no place: \xC3\xA4\xFF"); };
  command.execute();
  EXPECT_EQ(command.log,
            (Lines{u"Creating desktop shortcut for C:\\\u00e4\u65e5\\tool.exe",
                   u"Exception while creating desktop shortcut for C:\\\u00e4\u65e5\\tool.exe"
                   u"no place: \u00e4\uFFFD"}));
}

TEST(CreateDesktopShortcuts, AFailureLineIsPutTogetherInNarrowText) {
  Recorded command(UString(u"C:\\") + u'\xD800' + u".exe");
  command.whenCalled = [] { throw std::runtime_error("why"); };
  command.execute();
  EXPECT_EQ(command.log.at(1), u"Exception while creating desktop shortcut for C:\\\uFFFD.exewhy");
}

TEST(CreateDesktopShortcuts, WhatIsNoStandardExceptionLeavesTheCall) {
  Recorded command;
  command.whenCalled = [] { throw 42; };
  EXPECT_THROW(command.execute(), int);
  EXPECT_EQ(command.log.size(), 1u);
}

TEST(CreateDesktopShortcuts, ACopyBehavesAsItsSource) {
  Recorded const command(optionsWith(false, true), u"C:\\t.exe", u"Name", true, false);
  Recorded const copy(command);
  command.execute();
  copy.execute();
  EXPECT_EQ(copy.calls, command.calls);
  EXPECT_EQ(copy.log, command.log);
}

class CreateDesktopShortcutsOnMachine : public tests::CommandTest {
 protected:
  UString shortcut(UString const& name) { return at(u"Desktop\\" + name); }
  bool isThere(UString const& name) { return files().status(shortcut(name)).has_value(); }

  tests::RedirectedShell shell_{machine().shell(), MachineTest::root()};
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine const scope_{(substituted_.replace(shell_), substituted_)};
};

TEST_F(CreateDesktopShortcutsOnMachine, ExecuteMakesTheShortcutAndUndoRemovesIt) {
  CreateDesktopShortcuts const command(optionsWith(false, true), u"C:\\x\\bin\\tool.exe", u"-a",
                                       u"says what", u"", true, false);
  tests::LogCapture const log;
  command.execute();
  machine::Shortcut expected;
  expected.target = u"C:\\x\\bin\\tool.exe";
  expected.arguments = u"-a";
  expected.description = u"says what";
  expected.workingFolder = u"C:\\x\\bin";
  expected.window = machine::WindowState::maximized;
  EXPECT_EQ(machine().shell().readShortcut(shortcut(u"tool.lnk")), expected);
  command.undo();
  EXPECT_FALSE(isThere(u"tool.lnk"));
  EXPECT_EQ(log.messages(),
            (Lines{u"Creating desktop shortcut for C:\\x\\bin\\tool.exe",
                   u"Successfully created desktop shortcut for C:\\x\\bin\\tool.exe",
                   u"Deleting desktop shortcut for C:\\x\\bin\\tool.exe",
                   u"Successfully deleted desktop shortcut for C:\\x\\bin\\tool.exe"}));
}

TEST_F(CreateDesktopShortcutsOnMachine, TheOtherFlagsReachTheShortcutAndUndoRemovesItAllTheSame) {
  CreateDesktopShortcuts const command(optionsWith(false, true), u"C:\\x\\bin\\tool.exe", u"-a",
                                       u"says what", u"", false, true);
  command.execute();
  auto const made = machine().shell().readShortcut(shortcut(u"tool.lnk"));
  ASSERT_TRUE(made);
  EXPECT_TRUE(made->runAsAdministrator);
  EXPECT_EQ(made->neverSearchForTarget, false);
  EXPECT_EQ(made->window, machine::WindowState::normal);
  command.undo();
  EXPECT_FALSE(isThere(u"tool.lnk"));
}

TEST_F(CreateDesktopShortcutsOnMachine, ExecuteTwiceIsTheSameAsOnce) {
  CreateDesktopShortcuts const command(optionsWith(false, true), u"C:\\x\\bin\\tool.exe", u"-a",
                                       u"says what", u"", true, false);
  command.execute();
  auto const once = machine().shell().readShortcut(shortcut(u"tool.lnk"));
  command.execute();
  EXPECT_EQ(machine().shell().readShortcut(shortcut(u"tool.lnk")), once);
}

TEST_F(CreateDesktopShortcutsOnMachine, UndoDoesNotAskWhetherIntegrationIsSkipped) {
  writeFile(shortcut(u"tool.lnk"), "");
  Recorded const command(optionsWith(true, true), u"C:\\x\\bin\\tool.exe", u"");
  command.undo();
  EXPECT_FALSE(isThere(u"tool.lnk"));
  EXPECT_EQ(command.log.size(), 2u);
}

TEST_F(CreateDesktopShortcutsOnMachine, UndoActsOnlyWhenRequested) {
  writeFile(shortcut(u"tool.lnk"), "");
  for (bool const isSkipped : {false, true}) {
    Recorded const command(optionsWith(isSkipped, false), u"C:\\x\\bin\\tool.exe", u"");
    command.undo();
    EXPECT_TRUE(isThere(u"tool.lnk"));
    EXPECT_TRUE(command.log.empty());
  }
}

TEST_F(CreateDesktopShortcutsOnMachine, UndoOfAMissingShortcutLogsBothLines) {
  Recorded const command;
  command.undo();
  EXPECT_EQ(command.log,
            (Lines{u"Deleting desktop shortcut for C:\\x\\bin\\tool.exe",
                   u"Successfully deleted desktop shortcut for C:\\x\\bin\\tool.exe"}));
}

TEST_F(CreateDesktopShortcutsOnMachine, UndoRemovesOnlyTheNamedShortcut) {
  writeFile(shortcut(u"My Tool.lnk"), "");
  writeFile(shortcut(u"tool.lnk"), "");
  Recorded(u"C:\\x\\bin\\tool.exe", u"My Tool").undo();
  EXPECT_FALSE(isThere(u"My Tool.lnk"));
  EXPECT_TRUE(isThere(u"tool.lnk"));
}

TEST_F(CreateDesktopShortcutsOnMachine, UndoWithNeitherTargetNorNameLogsTheStartAndTheFailure) {
  writeFile(shortcut(u"tool.lnk"), "");
  Recorded const command(u"", u"");
  command.undo();
  EXPECT_EQ(command.log,
            (Lines{u"Deleting desktop shortcut for ",
                   u"Exception while deleting desktop shortcut for Exception in command_impls: "
                   u"executable file path cannot be empty"}));
  EXPECT_TRUE(isThere(u"tool.lnk"));
}

TEST_F(CreateDesktopShortcutsOnMachine, AFailedRemovalIsOneLineInPlaceOfTheSuccess) {
  writeFile(shortcut(u"tool.lnk"), "");
  tests::FaultyMachine faulty(substituted_);
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failWhen([](auto operation, auto) { return operation == "removeFile"; },
                           machine::ErrorCode::accessDenied);
  Recorded const command;
  command.undo();
  ASSERT_EQ(command.log.size(), 2u);
  EXPECT_TRUE(command.log[1].starts_with(
      u"Exception while deleting desktop shortcut for C:\\x\\bin\\tool.exeremoveFile "));
  EXPECT_TRUE(isThere(u"tool.lnk"));
}

TEST_F(CreateDesktopShortcutsOnMachine, EveryFailureOfTheMachineIsOneLine) {
  CreateDesktopShortcuts const command(optionsWith(false, true), u"C:\\x\\bin\\tool.exe", u"-a",
                                       u"says what", u"", true, false);
  command.execute();  // makes the folder
  tests::FaultyMachine faulty(substituted_);
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failAt(1'000'000, machine::ErrorCode::accessDenied);
  command.execute();
  auto const calls = faulty.faults().count();
  for (std::size_t n = 1; n <= calls; ++n) {
    tests::LogCapture const log;
    faulty.faults().failAt(n, machine::ErrorCode::accessDenied);
    command.execute();
    ASSERT_EQ(log.messages().size(), 2u) << n;
    EXPECT_TRUE(log.messages()[1].starts_with(
        u"Exception while creating desktop shortcut for C:\\x\\bin\\tool.exe"))
        << n;
  }
}

}  // namespace
}  // namespace registration::commands
