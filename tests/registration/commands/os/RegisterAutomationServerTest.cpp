#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "fl/filesystem/operations.hpp"
#include "machine/forwarding.hpp"
#include "registration/commands/RegisterAutomationServer.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/substituted_machine.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using fl::filesystem::get_current_path;
using Lines = std::vector<UString>;

/// Every call to the outside replaced.
class FakedServer : public RegisterAutomationServer {
 public:
  FakedServer(UString const& module, Path const& folder,
              utility::Options const& given = tests::plainOptions())
      : RegisterAutomationServer(given, module, folder, u"argument") {}

  std::function<bool()> result = [] { return true; };
  std::vector<UString> mutable calls;
  std::vector<Path> mutable currentFolders;
  Lines mutable log;
  std::function<void()> whenLogging = [] {};

 protected:
  bool registerOLEServerWrapper(UString const& module) const override {
    return call(u"register " + module);
  }
  bool unRegisterOLEServerWrapper(UString const& module) const override {
    return call(u"unregister " + module);
  }
  void log_message(UString const& message) const override {
    log.push_back(message);
    whenLogging();
  }

 private:
  bool call(UString const& what) const {
    calls.push_back(what);
    currentFolders.push_back(get_current_path());
    return result();
  }
};

class RegisterAutomationServerTest : public tests::CommandTest {
 protected:
  RegisterAutomationServerTest() { writeFile(folder_ / u"server.dll", "no module"); }
  ~RegisterAutomationServerTest() override { fl::filesystem::change_current_path(before_); }

  Path const before_ = get_current_path();
  Path const folder_ = root() / u"a folder";
};

TEST_F(RegisterAutomationServerTest, RegistersFromTheModulesFolder) {
  FakedServer const command(u"server.dll", folder_);
  command.execute();
  EXPECT_EQ(command.calls, Lines{u"register server.dll"});
  EXPECT_EQ(command.currentFolders, std::vector<Path>{folder_});
  EXPECT_EQ(command.log, Lines{u"Successfully registered server.dll as an automation server"});
}

TEST_F(RegisterAutomationServerTest, UndoUnregistersFromTheModulesFolder) {
  FakedServer const command(u"server.dll", folder_);
  command.undo();
  EXPECT_EQ(command.calls, Lines{u"unregister server.dll"});
  EXPECT_EQ(command.currentFolders, std::vector<Path>{folder_});
  EXPECT_EQ(command.log, Lines{u"Successfully unregistered server.dll as an automation server"});
}

TEST_F(RegisterAutomationServerTest, TheCurrentFolderIsTheOneOfBeforeAfterwards) {
  FakedServer const command(u"server.dll", folder_);
  command.execute();
  EXPECT_EQ(get_current_path(), before_);
  command.undo();
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, FalseIsAFailureLine) {
  FakedServer command(u"server.dll", folder_);
  command.result = [] { return false; };
  command.execute();
  command.undo();
  EXPECT_EQ(command.log, (Lines{u"Failed to register server.dll as an automation server",
                                u"Failed to unregister server.dll as an automation server"}));
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, MissingModuleIsOneLineAndLeavesTheCurrentFolder) {
  FakedServer const command(u"none.dll", folder_);
  command.execute();
  command.undo();
  UString const line = (folder_ / u"none.dll").ustring() + u" does not exist";
  EXPECT_EQ(command.log, (Lines{line, line}));
  EXPECT_TRUE(command.calls.empty());
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, FolderAndNameAreJoinedWithOneBackslash) {
  FakedServer const command(u"none.dll", Path(u"C:\\none\\"));
  command.execute();
  EXPECT_EQ(command.log, Lines{u"C:\\none\\none.dll does not exist"});
}

TEST_F(RegisterAutomationServerTest, EmptyNameIsTheFolderItself) {
  FakedServer command(u"", folder_);
  command.result = [] { return false; };
  command.execute();
  FakedServer const missing(u"", root() / u"none");
  missing.execute();
  EXPECT_EQ(command.calls, Lines{u"register "});
  EXPECT_EQ(command.log, Lines{u"Failed to register  as an automation server"});
  EXPECT_EQ(missing.log, Lines{(root() / u"none").ustring() + u" does not exist"});
}

TEST_F(RegisterAutomationServerTest, AnEmptyModuleFolderIsTheCurrentOneAndTheWrapperIsCalled) {
  ASSERT_TRUE(fl::filesystem::change_current_path(folder_));
  FakedServer const command(u"server.dll", Path());
  command.execute();
  command.undo();
  EXPECT_EQ(command.calls, (Lines{u"register server.dll", u"unregister server.dll"}));
  EXPECT_EQ(command.log, (Lines{u"Successfully registered server.dll as an automation server",
                                u"Successfully unregistered server.dll as an automation server"}));
  EXPECT_EQ(get_current_path(), folder_);
}

TEST_F(RegisterAutomationServerTest, ItsLineIsLoggedBeforeTheFolderIsPutBack) {
  FakedServer command(u"server.dll", folder_);
  std::vector<Path> folders;
  command.whenLogging = [&] { folders.push_back(get_current_path()); };
  command.execute();
  command.result = [] { return false; };
  command.undo();
  EXPECT_EQ(folders, (std::vector<Path>{folder_, folder_}));
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, EveryFailureIsTold) {
  tests::TroubleCapture const trouble;
  FakedServer(u"none.dll", folder_).execute();
  EXPECT_EQ(trouble.errors(u"none.dll does not exist"), 1u);
  FakedServer command(u"server.dll", folder_);
  command.result = [] { return false; };
  command.undo();
  EXPECT_EQ(trouble.errors(u"Failed to unregister server.dll"), 1u);
  FakedServer(u"server.dll", folder_, tests::skippingSystemIntegration()).execute();
  EXPECT_EQ(trouble.count(tests::TroubleCapture::Severity::skipped), 1u);
  EXPECT_EQ(trouble.reports().size(), 3u);
}

TEST_F(RegisterAutomationServerTest, SkippedSystemIntegrationStopsExecuteButNotUndo) {
  FakedServer const command(u"server.dll", folder_, tests::skippingSystemIntegration());
  command.execute();
  EXPECT_TRUE(command.log.empty());
  EXPECT_TRUE(command.calls.empty());
  command.undo();
  EXPECT_EQ(command.calls, Lines{u"unregister server.dll"});
}

TEST_F(RegisterAutomationServerTest, StandardExceptionIsTheFailureLineAndItsText) {
  FakedServer command(u"server.dll", folder_);
  command.result = []() -> bool { throw std::runtime_error("x"); };
  command.execute();
  command.undo();
  EXPECT_EQ(command.log, (Lines{u"Failed to register server.dll as an automation server", u"x",
                                u"Failed to unregister server.dll as an automation server", u"x"}));
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, OtherExceptionsPassAndTheCurrentFolderIsPutBack) {
  FakedServer command(u"server.dll", folder_);
  command.result = []() -> bool { throw 42; };
  EXPECT_THROW(command.execute(), int);
  EXPECT_EQ(get_current_path(), before_);
  EXPECT_THROW(command.undo(), int);
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, FolderThatCannotBeEnteredIsAFailureAndNothingIsLoaded) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failWhen([](auto operation, auto) { return operation == "setCurrentDirectory"; },
                           machine::ErrorCode::accessDenied);
  FakedServer const command(u"server.dll", folder_);
  command.execute();
  EXPECT_TRUE(command.calls.empty());
  EXPECT_EQ(command.log, Lines{u"Failed to register server.dll as an automation server"});
}

TEST_F(RegisterAutomationServerTest, UnknownCurrentFolderIsAFailureAndNothingIsLoaded) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failWhen([](auto operation, auto) { return operation == "currentDirectory"; },
                           machine::ErrorCode::pathNotFound);
  FakedServer const command(u"server.dll", folder_);
  command.undo();
  EXPECT_TRUE(command.calls.empty());
  ASSERT_EQ(command.log.size(), 2u);
  EXPECT_EQ(command.log.front(), u"Failed to unregister server.dll as an automation server");
}

TEST_F(RegisterAutomationServerTest, EachFailingCallOfTheMachineEndsInTheLogAndTheFolderOfBefore) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  RegisterAutomationServer const command(tests::plainOptions(), u"server.dll", folder_, u"");
  // status, currentDirectory, setCurrentDirectory, callEntryPoint
  for (std::size_t n = 1; n <= 4; ++n) {
    tests::LogCapture log;
    faulty.faults().failAt(n, machine::ErrorCode::ioDevice);
    EXPECT_NO_THROW(command.execute()) << n;
    EXPECT_GE(faulty.faults().count(), n) << "the call was made";
    EXPECT_FALSE(log.messages().empty()) << n;
    faulty.faults().failNever();
    EXPECT_EQ(get_current_path(), before_) << n;
  }
}

TEST_F(RegisterAutomationServerTest, FileThatIsNoModuleFails) {
  writeFile(folder_ / u"empty.dll", "");
  tests::LogCapture log;
  RegisterAutomationServer(tests::plainOptions(), u"empty.dll", folder_, u"").execute();
  EXPECT_EQ(log.messages(), Lines{u"Failed to register empty.dll as an automation server"});
}

/// Who may write to a place that is searched earlier plants a module of the same name there.
TEST_F(RegisterAutomationServerTest, AModuleFoundElsewhereIsAFailureAndTheLogsLinesStay) {
  UString const name = u"registration-test-planted.dll";
  Path const checked = folder_ / name;
  writeFile(checked, "RegisterOLEServer2\nUnRegisterOLEServer2\n");
  class Planted final : public machine::ForwardingModules {
   public:
    using ForwardingModules::ForwardingModules;
    machine::ModuleCall callEntryPoint(std::u16string_view, std::u16string_view file,
                                       std::string const&,
                                       std::array<std::string, 3> const&) override {
      asked = file;
      throw machine::OtherModule(file, u"C:\\Windows\\planted.dll");
    }
    UString asked;
  } planted(machine().modules());
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(planted);
  machine::ScopedMachine const scope(substituted);
  tests::LogCapture const log;
  tests::TroubleCapture const trouble;
  RegisterAutomationServer const command(tests::plainOptions(), name, folder_, u"");
  command.execute();
  command.undo();
  EXPECT_EQ(planted.asked, checked.ustring());
  EXPECT_EQ(log.messages(), (Lines{u"Failed to register " + name + u" as an automation server",
                                   u"Failed to unregister " + name + u" as an automation server"}));
  EXPECT_EQ(trouble.errors(u"C:\\Windows\\planted.dll was found in place of " + checked.ustring()),
            2u);
  EXPECT_EQ(get_current_path(), before_);
}

TEST_F(RegisterAutomationServerTest, CopyDoesWhatItsSourceDoes) {
  auto source = std::make_unique<FakedServer>(u"server.dll", folder_);
  FakedServer const copy(*source);
  source.reset();
  copy.execute();
  EXPECT_EQ(copy.log, Lines{u"Successfully registered server.dll as an automation server"});
}

TEST_F(RegisterAutomationServerTest, LogsToTheInstallationLog) {
  tests::LogCapture log;
  RegisterAutomationServer(tests::plainOptions(), u"none.dll", folder_, u"").undo();
  EXPECT_EQ(log.messages(), Lines{(folder_ / u"none.dll").ustring() + u" does not exist"});
}

}  // namespace
}  // namespace registration::commands
