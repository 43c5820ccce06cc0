#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "registration/commands/SetFileAssociations.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/redirected_shell.hpp"
#include "tests/support/substituted_machine.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

utility::Options optionsWith(bool isSkipped, bool isRequested,
                             UString const& root = u"C:\\Vortan \u65e5") {
  utility::Options::Values values;
  values.systemIntegrationSkipped = isSkipped;
  values.fileAssociationRequested = isRequested;
  values.rootPath = root;
  return utility::Options(values);
}

/// The library's calls replaced by a record of them.
class Recorded : public SetFileAssociations {
 public:
  explicit Recorded(utility::Options const& given = optionsWith(false, true),
                    unsigned long code = 4)
      : SetFileAssociations(given, code) {}

  std::vector<std::string> mutable calls;
  Lines mutable log;
  std::function<void()> whenCalled = [] {};

 protected:
  void registerWrapper() const override {
    calls.emplace_back("register");
    whenCalled();
  }
  void unregisterWrapper() const override {
    calls.emplace_back("unregister");
    whenCalled();
  }
  void log_message(UString const& message) const override { log.push_back(message); }
};

TEST(SetFileAssociations, RegistersAndLogsBeforeAndAfter) {
  Recorded const command;
  command.execute();
  EXPECT_EQ(command.calls, std::vector<std::string>{"register"});
  EXPECT_EQ(command.log, (Lines{u"Updating file associations at C:\\Vortan \u65e5",
                                u"Successfully updated file associations at C:\\Vortan \u65e5"}));
}

TEST(SetFileAssociations, UndoUnregistersAndLogsBeforeAndAfter) {
  Recorded const command;
  command.undo();
  EXPECT_EQ(command.calls, std::vector<std::string>{"unregister"});
  EXPECT_EQ(command.log, (Lines{u"Deleting file associations at C:\\Vortan \u65e5",
                                u"Successfully deleted file associations at C:\\Vortan \u65e5"}));
}

TEST(SetFileAssociations, ExecuteActsOnlyWhenRequestedAndNotSkipped) {
  for (bool const isSkipped : {false, true}) {
    for (bool const isRequested : {false, true}) {
      Recorded const command(optionsWith(isSkipped, isRequested));
      command.execute();
      bool const acts = !isSkipped && isRequested;
      EXPECT_EQ(command.calls.size(), acts ? 1u : 0u) << isSkipped << isRequested;
      EXPECT_EQ(command.log.size(), acts ? 2u : 0u) << isSkipped << isRequested;
    }
  }
}

TEST(SetFileAssociations, UndoActsWhenRequestedWhetherSkippedOrNot) {
  for (bool const isSkipped : {false, true}) {
    for (bool const isRequested : {false, true}) {
      Recorded const command(optionsWith(isSkipped, isRequested));
      command.undo();
      EXPECT_EQ(command.calls.size(), isRequested ? 1u : 0u) << isSkipped << isRequested;
      EXPECT_EQ(command.log.size(), isRequested ? 2u : 0u) << isSkipped << isRequested;
    }
  }
}

TEST(SetFileAssociations, AFailedUpdateLogsTheReasonFirst) {
  Recorded command;
  command.whenCalled = [] { throw std::runtime_error("refused: \xC3\xA4"); };
  command.execute();
  EXPECT_EQ(command.log,
            (Lines{u"Updating file associations at C:\\Vortan \u65e5", u"refused: \u00e4",
                   u"Failed to update file associations at C:\\Vortan \u65e5"}));
}

TEST(SetFileAssociations, AFailedDeletionLogsTheReasonFirst) {
  Recorded command;
  command.whenCalled = [] { throw std::runtime_error("refused"); };
  command.undo();
  EXPECT_EQ(command.log, (Lines{u"Deleting file associations at C:\\Vortan \u65e5", u"refused",
                                u"Failed to delete file associations at C:\\Vortan \u65e5"}));
}

TEST(SetFileAssociations, WhatIsNoStandardExceptionLeavesTheCall) {
  Recorded command;
  command.whenCalled = [] { throw 42; };
  EXPECT_THROW(command.execute(), int);
  EXPECT_THROW(command.undo(), int);
  EXPECT_EQ(command.log.size(), 2u);
}

TEST(SetFileAssociations, ProductCodes4And8And16AreAccepted) {
  for (unsigned long const code : {4ul, 8ul, 16ul}) {
    EXPECT_NO_THROW(Recorded(optionsWith(false, true), code));
  }
}

TEST(SetFileAssociations, OtherProductCodesAreRefusedAtConstruction) {
  for (unsigned long const code : {0ul, 1ul, 2ul, 5ul, 12ul, 32ul, ~0ul}) {
    try {
      Recorded const command(optionsWith(false, true), code);
      FAIL() << code << " accepted";
    } catch (std::runtime_error const& refused) {
      EXPECT_STREQ(refused.what(),
                   "Exception occured while setting file associations: Selected product does not "
                   "have support for file associations.");
    }
  }
}

TEST(SetFileAssociations, AProductCodeIsRefusedWhetherAssociationsAreRequestedOrNot) {
  EXPECT_THROW(Recorded(optionsWith(true, false), 2), std::runtime_error);
}

TEST(SetFileAssociations, CopiesAndMovedOnesBehaveAsTheirSource) {
  Recorded command;
  Recorded const copy(command);
  Recorded const moved(std::move(command));
  copy.execute();
  moved.execute();
  EXPECT_EQ(copy.log, moved.log);
  EXPECT_EQ(copy.log.size(), 2u);
}

class SetFileAssociationsOnMachine : public tests::CommandTest {
 protected:
  ~SetFileAssociationsOnMachine() override {
    for (auto const* name : {u".vtview", u".vtreport", u"Vortan.View", u"Vortan.Report"}) {
      registry().removeKey(classKey(name));
    }
  }
  static machine::RegistryKey classKey(UString const& name) {
    return {machine::RegistryRoot::localMachine, u"SOFTWARE\\Classes\\" + name};
  }
  UString text(UString const& name) {
    auto const value = registry().value(classKey(name), u"");
    return value ? value->text() : u"(none)";
  }

  tests::RedirectedShell shell_{machine().shell(), MachineTest::root()};
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine const scope_{(substituted_.replace(shell_), substituted_)};
};

TEST_F(SetFileAssociationsOnMachine, ExecuteRegistersTheRootAndProductAndUndoTakesThemBack) {
  SetFileAssociations const command(optionsWith(false, true, u"C:\\Vortan"), 8);
  command.execute();
  EXPECT_EQ(text(u".vtview"), u"Vortan.View");
  EXPECT_EQ(text(u"Vortan.View\\shell\\open\\command"),
            u"\"C:\\Vortan\\bin\\win64\\vortan.exe\" \"%1\"");
  EXPECT_FALSE(registry().keyExists(classKey(u".vtn")));
  EXPECT_EQ(shell_.announcements, 1);
  command.undo();
  EXPECT_FALSE(registry().keyExists(classKey(u".vtview")));
  EXPECT_FALSE(registry().keyExists(classKey(u"Vortan.View")));
}

TEST_F(SetFileAssociationsOnMachine, AnInstallationWithoutARootIsAFailureInTheLog) {
  SetFileAssociations const command(optionsWith(false, true, u""), 8);
  tests::LogCapture const log;
  command.execute();
  EXPECT_EQ(log.messages(), (Lines{u"Updating file associations at ",
                                   u"file associations: no installation root: \"\"",
                                   u"Failed to update file associations at "}));
}

}  // namespace
}  // namespace registration::commands
