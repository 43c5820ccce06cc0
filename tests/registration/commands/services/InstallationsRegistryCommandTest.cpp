#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "registration/commands/InstallationsRegistryCommand.hpp"
#include "tests/layers/vortanconnector/installationsregistry/sandboxed_registry.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;
using nlohmann::json;

UString const adding = u"Adding VORTAN record to installation registry.";

utility::Options requested(UString const& root) {
  utility::Options::Values values;
  values.serviceHostRequested = true;
  values.rootPath = root;
  return utility::Options(values);
}

class InstallationsRegistryCommandTest : public tests::CommandTest {
 protected:
  InstallationsRegistryCommandTest() { machine().environment().removeVariable(variable); }
  ~InstallationsRegistryCommandTest() override { machine().environment().removeVariable(variable); }
  std::vector<UString> execute(UString const& installation = u"C:/Vortan/R1") {
    tests::LogCapture log;
    InstallationsRegistryCommand(requested(installation)).execute();
    return log.messages();
  }
  Path folder() const { return root() / u"ProgramData" / u"Brantix" / u"Installations"; }
  Path file() const { return folder() / u"installations.json"; }

  static constexpr auto variable = u"BSH_INSTALLATION_REGISTRY_NAME_OVERRIDE";
  tests::SandboxedRegistry sandbox_{machine(), (root() / u"ProgramData").ustring()};
  machine::ScopedMachine scope_{sandbox_.machine()};
};

TEST_F(InstallationsRegistryCommandTest, RecordsTheRootInNativeForm) {
  EXPECT_EQ(execute(), Lines{adding});
  EXPECT_EQ(json::parse(readFile(file()))["installations"][0]["root"], "C:\\Vortan\\R1");
}

TEST_F(InstallationsRegistryCommandTest, RunTwiceThereIsOneRecord) {
  execute();
  EXPECT_EQ(execute(), Lines{adding});
  EXPECT_EQ(json::parse(readFile(file()))["installations"].size(), 1u);
}

TEST_F(InstallationsRegistryCommandTest, NothingHappensWhenTheServiceHostIsNotRequested) {
  tests::LogCapture log;
  InstallationsRegistryCommand(utility::Options(utility::Options::Values{})).execute();
  EXPECT_TRUE(log.messages().empty());
  EXPECT_FALSE(exists(root() / u"ProgramData"));
}

TEST_F(InstallationsRegistryCommandTest, TheEnvironmentNamesAnotherRegistry) {
  machine().environment().setVariable(variable, u"other");
  EXPECT_EQ(execute(), Lines{adding});
  EXPECT_TRUE(exists(folder() / u"other.json"));
  EXPECT_FALSE(exists(file()));
}

TEST_F(InstallationsRegistryCommandTest, WithoutTheVariableTheUsualRegistryIsWritten) {
  execute();
  EXPECT_TRUE(exists(file()));
}

TEST_F(InstallationsRegistryCommandTest, ARefusedRecordLeavesTwoLines) {
  Lines const refused{adding, u"Failed to add VORTAN record to installation registry."};
  EXPECT_EQ(execute(u""), refused);
  machine().environment().setVariable(variable, u"..\\other");
  EXPECT_EQ(execute(), refused);
}

TEST_F(InstallationsRegistryCommandTest, AnExceptionIsToldInOneLine) {
  writeFile(file(), "{}");
  EXPECT_EQ(execute(),
            (Lines{adding, u"Failed to add VORTAN record to installation registry: " +
                               file().ustring() + u": /version: must be a whole number"}));
  EXPECT_EQ(readFile(file()), "{}");
}

TEST_F(InstallationsRegistryCommandTest, UndoLeavesTheRecordAndLogsNothing) {
  execute();
  std::string const before = readFile(file());
  tests::LogCapture log;
  InstallationsRegistryCommand(requested(u"C:/Vortan/R1")).undo();
  EXPECT_TRUE(log.messages().empty());
  EXPECT_EQ(readFile(file()), before);
}

TEST_F(InstallationsRegistryCommandTest, EveryLineGoesThroughTheLoggingOperation) {
  class Recording : public InstallationsRegistryCommand {
   public:
    using InstallationsRegistryCommand::InstallationsRegistryCommand;
    Lines mutable lines;

   private:
    void log_message(UString const& message) const override { lines.push_back(message); }
  };
  tests::LogCapture log;
  Recording const command(requested(u""));
  command.execute();
  EXPECT_EQ(command.lines.size(), 2u);
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(InstallationsRegistryCommandTest, AStandardExceptionWhileLoggingTheStartIsCaughtToo) {
  class Failing : public InstallationsRegistryCommand {
   public:
    using InstallationsRegistryCommand::InstallationsRegistryCommand;
    Lines mutable lines;

   private:
    void log_message(UString const& message) const override {
      lines.push_back(message);
      if (lines.size() == 1) {
        throw std::runtime_error("full \xff");
      }
    }
  };
  Failing const command(requested(u"C:\\Vortan"));
  command.execute();
  EXPECT_EQ(command.lines.back(),
            u"Failed to add VORTAN record to installation registry: full \ufffd");
}

TEST_F(InstallationsRegistryCommandTest, OtherExceptionsPass) {
  class Failing : public InstallationsRegistryCommand {
   public:
    using InstallationsRegistryCommand::InstallationsRegistryCommand;

   private:
    void log_message(UString const&) const override { throw 7; }
  };
  EXPECT_THROW(Failing(requested(u"C:\\Vortan")).execute(), int);
}

TEST_F(InstallationsRegistryCommandTest, CopiesAndMovedOnesBehaveAsTheirSource) {
  InstallationsRegistryCommand source(requested(u"C:\\a"));
  InstallationsRegistryCommand const copy(source);
  InstallationsRegistryCommand const moved(std::move(source));
  copy.execute();
  EXPECT_EQ(json::parse(readFile(file()))["installations"][0]["root"], "C:\\a");
  moved.execute();
  EXPECT_EQ(json::parse(readFile(file()))["installations"].size(), 1u);
}

}  // namespace
}  // namespace registration::commands
