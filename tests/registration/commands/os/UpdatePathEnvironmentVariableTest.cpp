#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/UpdatePathEnvironmentVariable.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;

/// Every call to the outside replaced.
class FakedPath : public UpdatePathEnvironmentVariable {
 public:
  explicit FakedPath(UString const& entry = u"C:\\Prog\\P\\bin",
                     utility::Options const& given = tests::plainOptions())
      : UpdatePathEnvironmentVariable(given, entry, u"10.0", u"vortan.exe") {}

  UString stored;
  std::vector<UString> mutable written;
  std::vector<UString> mutable sessions;
  Lines mutable log;
  int mutable broadcasts = 0;
  long broadcastResult = 1;

 protected:
  UString getPathEntries() const override { return stored; }
  void setEnvironmentRegistryKey(UString const& value) const override { written.push_back(value); }
  UString getFileVersionWrapper(Path const&) const override { return u"9.0.0.0"; }
  bool existsWrapper(Path const& file) const override {
    return file.ustring() == u"C:\\Old\\bin\\win64\\vortan.exe";
  }
  void log_message(UString const& message) const override { log.push_back(message); }
  long sendMessageAboutEnvironment() const override {
    ++broadcasts;
    return broadcastResult;
  }
  void updatePathForCurrentSession(UString const& value) const override {
    sessions.push_back(value);
  }
  UString getLastErrorWrapper() const override { return u"1460"; }
};

TEST(UpdatePathEnvironmentVariable, AddsTellsAndUpdatesTheSession) {
  FakedPath command;
  command.stored = u"C:\\Windows;C:\\Old\\bin";
  command.execute();
  UString const path = u"C:\\Windows;C:\\Prog\\P\\bin;C:\\Old\\bin;";
  EXPECT_EQ(command.written, Lines{path});
  EXPECT_EQ(command.sessions, Lines{path});
  EXPECT_EQ(command.broadcasts, 1);
  EXPECT_EQ(command.log,
            (Lines{u"Adding C:\\Prog\\P\\bin to the system path", u"Updating path environment",
                   u"Successfully updated path env registry key", u"New Path: " + path}));
}

TEST(UpdatePathEnvironmentVariable, EntryFoundAnywhereInThePathIsNotAdded) {
  FakedPath command;
  command.stored = u"c:\\prog\\p\\bin\\x";
  command.execute();
  EXPECT_TRUE(command.written.empty());
  EXPECT_EQ(command.broadcasts, 0);
  EXPECT_EQ(command.log,
            Lines{u"C:\\Prog\\P\\bin was not added to the system path since it already exists"});
}

TEST(UpdatePathEnvironmentVariable, SkippedSystemIntegrationDoesNothingAtAll) {
  FakedPath command(u"C:\\Prog\\P\\bin", tests::skippingSystemIntegration());
  command.execute();
  EXPECT_TRUE(command.log.empty());
  EXPECT_TRUE(command.written.empty());
}

TEST(UpdatePathEnvironmentVariable, UndoDoesNotAskWhetherIntegrationIsSkipped) {
  FakedPath command(u"C:\\Prog\\P\\bin", tests::skippingSystemIntegration());
  command.stored = u"C:\\a;C:\\Prog\\P\\bin;";
  command.undo();
  EXPECT_EQ(command.written, Lines{u"C:\\a;"});
}

TEST(UpdatePathEnvironmentVariable, ValueOf2047UnitsIsWritten) {
  FakedPath command(u"N");
  command.stored = UString(2044, u'x');  // with its separator, the entry and its own: 2047
  command.execute();
  ASSERT_EQ(command.written.size(), 1u);
  EXPECT_EQ(command.written.front().size(), 2047u);
}

TEST(UpdatePathEnvironmentVariable, ValueOf2048UnitsIsNotWritten) {
  FakedPath command(u"N");
  command.stored = UString(2045, u'x');
  command.execute();
  EXPECT_TRUE(command.written.empty());
  EXPECT_TRUE(command.sessions.empty());
  EXPECT_EQ(command.broadcasts, 0);
  EXPECT_EQ(command.log, (Lines{u"Adding N to the system path",
                                u"Path too long, cannot update path environment value."}));
}

TEST(UpdatePathEnvironmentVariable, NegativeBroadcastIsLoggedWithTheLastError) {
  FakedPath command;
  command.broadcastResult = -1;
  command.execute();
  EXPECT_EQ(command.log.back(),
            u"Failed to send message about system path environment change with error: 1460");
  EXPECT_EQ(command.sessions.size(), 1u) << "the session is updated all the same";
}

TEST(UpdatePathEnvironmentVariable, BroadcastThatReturnsZeroCountsAsSuccess) {
  FakedPath command;
  command.broadcastResult = 0;
  command.execute();
  EXPECT_EQ(command.log.back(), u"New Path: C:\\Prog\\P\\bin;");
}

TEST(UpdatePathEnvironmentVariable, UndoRemovesTheExactEntryAndLeavesTheSession) {
  FakedPath command;
  command.stored = u"C:\\a;C:\\Prog\\P\\bin;C:\\b;C:\\Prog\\P\\bin;";
  command.undo();
  EXPECT_EQ(command.written, Lines{u"C:\\a;C:\\b;C:\\Prog\\P\\bin;"});
  EXPECT_TRUE(command.sessions.empty());
  EXPECT_EQ(command.log,
            (Lines{u"Updating path environment", u"Successfully updated path env registry key",
                   u"New Path: C:\\a;C:\\b;C:\\Prog\\P\\bin;"}));
}

TEST(UpdatePathEnvironmentVariable, UndoInAnotherCaseRemovesNothingButRewritesAndBroadcasts) {
  FakedPath command;
  command.stored = u"C:\\a;c:\\prog\\p\\BIN;";
  command.undo();
  EXPECT_EQ(command.written, Lines{u"C:\\a;c:\\prog\\p\\BIN;"});
  EXPECT_EQ(command.broadcasts, 1);
}

TEST(UpdatePathEnvironmentVariable, UndoHasNoLengthLimit) {
  FakedPath command;
  command.stored = UString(5000, u'x');
  command.undo();
  EXPECT_EQ(command.written, Lines{UString(5000, u'x')});
}

TEST(UpdatePathEnvironmentVariable, ExecuteThenUndoRestoresEveryEntry) {
  FakedPath command;
  command.stored = u"C:\\Windows;C:\\Old\\bin;";
  command.execute();
  command.stored = command.written.back();
  command.undo();
  EXPECT_EQ(command.written.back(), u"C:\\Windows;C:\\Old\\bin;");
}

TEST(UpdatePathEnvironmentVariable, FailuresToReadAndWriteReachTheInstaller) {
  struct Failing : FakedPath {
    UString getPathEntries() const override { throw std::runtime_error("unreadable"); }
  };
  EXPECT_THROW(Failing().execute(), std::runtime_error);
  EXPECT_THROW(Failing().undo(), std::runtime_error);
  struct FailingWrite : FakedPath {
    void setEnvironmentRegistryKey(UString const&) const override {
      throw std::runtime_error("denied");
    }
  };
  FailingWrite command;
  EXPECT_THROW(command.execute(), std::runtime_error);
  EXPECT_EQ(command.log.back(), u"Updating path environment");
  EXPECT_EQ(command.broadcasts, 0);
}

TEST(UpdatePathEnvironmentVariable, CopiesAndMovedOnesBehaveAsTheirSource) {
  FakedPath source;
  source.stored = u"C:\\a;";
  FakedPath const copy(source);
  copy.execute();
  EXPECT_EQ(copy.written, Lines{u"C:\\a;C:\\Prog\\P\\bin;"});
  FakedPath const moved(std::move(source));
  moved.execute();
  EXPECT_EQ(moved.written, copy.written);
}

/// The machine's own registry, environment and files. The value is put back afterwards.
class UpdatePathOnMachine : public tests::CommandTest {
 protected:
  void SetUp() override {
    tests::CommandTest::SetUp();
    before_ = machine().registry().value(key_, u"Path");
    session_ = machine().environment().variable(u"Path");
  }
  void TearDown() override {
    if (before_) {
      machine().registry().setValue(key_, u"Path", *before_);
    }
    if (session_) {
      machine().environment().setVariable(u"Path", *session_);
    }
    tests::CommandTest::TearDown();
  }
  void store(UString const& path, machine::RegistryType type) {
    machine().registry().setValue(key_, u"Path", machine::RegistryValue::ofText(path, type));
  }
  void store(machine::RegistryValue const& value) {
    machine().registry().setValue(key_, u"Path", value);
  }
  machine::RegistryValue stored() { return machine().registry().value(key_, u"Path").value(); }

  std::vector<UString> run(void (UpdatePathEnvironmentVariable::*operation)() const) {
    tests::LogCapture log;
    UpdatePathEnvironmentVariable const command(tests::plainOptions(), u"C:\\New\\bin", u"10.0",
                                                u"vortan.exe");
    (command.*operation)();
    return log.messages();
  }

 private:
  machine::RegistryKey key_{machine::RegistryRoot::localMachine,
                            u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"};
  std::optional<machine::RegistryValue> before_;
  std::optional<UString> session_;
};

TEST_F(UpdatePathOnMachine, ReadsUnexpandedAndKeepsTheExpandableType) {
  store(u"%SystemRoot%\\system32;%SystemRoot%", machine::RegistryType::expandableString);
  run(&UpdatePathEnvironmentVariable::execute);
  EXPECT_EQ(stored().type, machine::RegistryType::expandableString);
  EXPECT_EQ(stored().text(), u"%SystemRoot%\\system32;%SystemRoot%;C:\\New\\bin;");
  run(&UpdatePathEnvironmentVariable::undo);
  EXPECT_EQ(stored().type, machine::RegistryType::expandableString);
  EXPECT_EQ(stored().text(), u"%SystemRoot%\\system32;%SystemRoot%;");
}

TEST_F(UpdatePathOnMachine, KeepsThePlainType) {
  store(u"C:\\a", machine::RegistryType::string);
  run(&UpdatePathEnvironmentVariable::execute);
  EXPECT_EQ(stored().type, machine::RegistryType::string);
  EXPECT_EQ(stored().text(), u"C:\\a;C:\\New\\bin;");
}

TEST_F(UpdatePathOnMachine, UpdatesThisProcessAndLogsEveryStep) {
  store(u"C:\\a", machine::RegistryType::expandableString);
  EXPECT_EQ(run(&UpdatePathEnvironmentVariable::execute),
            (Lines{u"Adding C:\\New\\bin to the system path", u"Updating path environment",
                   u"Successfully updated path env registry key", u"New Path: C:\\a;C:\\New\\bin;",
                   u"Successfully updated path for the current session"}));
  EXPECT_EQ(machine().environment().variable(u"Path"), u"C:\\a;C:\\New\\bin;");
}

TEST_F(UpdatePathOnMachine, RunTwiceTheSecondOneChangesNothing) {
  store(u"C:\\a", machine::RegistryType::expandableString);
  run(&UpdatePathEnvironmentVariable::execute);
  EXPECT_EQ(run(&UpdatePathEnvironmentVariable::execute),
            Lines{u"C:\\New\\bin was not added to the system path since it already exists"});
  EXPECT_EQ(stored().text(), u"C:\\a;C:\\New\\bin;");
}

TEST_F(UpdatePathOnMachine, APathThatIsNoStringIsRefusedByItsTypeAndStays) {
  std::pair<machine::RegistryValue, char const*> const others[] = {
      {machine::RegistryValue::ofText(u"C:\\a", machine::RegistryType::multiString),
       "REG_MULTI_SZ"},
      {machine::RegistryValue::ofDword(5), "REG_DWORD"},
      {{machine::RegistryType::binary, "C:\\a"}, "REG_BINARY"},
      {{machine::RegistryType::none, ""}, "REG_NONE"}};
  for (auto const& [value, type] : others) {
    for (auto const operation :
         {&UpdatePathEnvironmentVariable::execute, &UpdatePathEnvironmentVariable::undo}) {
      store(value);
      try {
        run(operation);
        ADD_FAILURE() << type;
      } catch (std::runtime_error const& refused) {
        EXPECT_NE(std::string(refused.what()).find(type), std::string::npos) << refused.what();
        EXPECT_NE(std::string(refused.what()).find("Environment\\Path"), std::string::npos);
      }
      EXPECT_EQ(stored(), value) << type;
    }
  }
}

TEST(UpdatePathEnvironmentVariable, WhatIsNotDoneIsTold) {
  tests::TroubleCapture const trouble;
  FakedPath tooLong(u"N");
  tooLong.stored = UString(2045, u'x');
  tooLong.execute();
  EXPECT_EQ(trouble.errors(u"Path too long"), 1u);
  FakedPath unheard;
  unheard.broadcastResult = -1;
  unheard.execute();
  EXPECT_EQ(trouble.errors(u"Failed to send message"), 1u);
  FakedPath present;
  present.stored = u"C:\\Prog\\P\\bin";
  present.execute();
  FakedPath(u"N", tests::skippingSystemIntegration()).execute();
  EXPECT_EQ(trouble.count(tests::TroubleCapture::Severity::skipped), 2u);
  EXPECT_EQ(trouble.reports().size(), 4u);
}

}  // namespace
}  // namespace registration::commands
