#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/LaunchCppMicroServicesCacheExecutable.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/recorded_processes.hpp"
#include "tests/support/substituted_machine.hpp"

namespace registration::commands {
namespace {

using Kind = machine::ProcessOutput::Kind;
using Lines = std::vector<UString>;

/// Every call to the outside replaced.
class FakedCache : public LaunchCppMicroServicesCacheExecutable {
 public:
  explicit FakedCache(Path const& executable)
      : LaunchCppMicroServicesCacheExecutable(tests::plainOptions(), executable) {}

  std::vector<std::vector<std::string>> mutable launches;
  bool result = true;
  Lines mutable log;

 protected:
  bool launchExe(std::vector<std::string> const& arguments) const override {
    launches.push_back(arguments);
    return result;
  }
  void log_message(UString const& message) const override { log.push_back(message); }
};

/// Opens what a derived class may call.
class OpenCache : public LaunchCppMicroServicesCacheExecutable {
 public:
  using LaunchCppMicroServicesCacheExecutable::LaunchCppMicroServicesCacheExecutable;
  using LaunchCppMicroServicesCacheExecutable::launchExe;
};

class LaunchCppMicroServicesCacheExecutableTest : public tests::CommandTest {
 protected:
  LaunchCppMicroServicesCacheExecutableTest() {
    substituted_.replace(processes_);
    writeFile(program_, "x");
  }

  Path const program_ = root() / u"cache \u65e5.exe";
  tests::RecordedProcesses processes_;
  tests::LogCapture log_;

 private:
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine scope_{substituted_};
};

TEST_F(LaunchCppMicroServicesCacheExecutableTest, LaunchesWithoutArgumentsWhateverTheResult) {
  FakedCache command(program_);
  command.execute();
  command.result = false;
  command.execute();
  EXPECT_EQ(command.launches, (std::vector<std::vector<std::string>>{{}, {}}));
  EXPECT_TRUE(command.log.empty());
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, EmptyPathIsLoggedAndStartsNothing) {
  FakedCache const command{Path()};
  command.execute();
  EXPECT_EQ(command.log, Lines{u"Manifest cache executable does not exist"});
  EXPECT_TRUE(command.launches.empty());
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, MissingProgramIsLoggedAndStartsNothing) {
  FakedCache const command(root() / u"none.exe");
  command.execute();
  EXPECT_EQ(command.log, Lines{u"Manifest cache executable does not exist"});
  EXPECT_TRUE(command.launches.empty());
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, UndoDoesNothing) {
  FakedCache const command(program_);
  command.undo();
  EXPECT_TRUE(command.log.empty());
  EXPECT_TRUE(command.launches.empty());
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, StartsWithoutWindowAndOutputAndWaits) {
  LaunchCppMicroServicesCacheExecutable(tests::plainOptions(), program_).execute();
  EXPECT_EQ(processes_.started.program, program_.ustring());
  EXPECT_TRUE(processes_.started.arguments.empty());
  EXPECT_TRUE(processes_.started.noWindow);
  EXPECT_FALSE(processes_.started.detached);
  EXPECT_EQ(processes_.started.standardOutput.kind, Kind::discard);
  EXPECT_EQ(processes_.started.standardError.kind, Kind::discard);
  EXPECT_EQ(processes_.waits, 1);
  EXPECT_EQ(processes_.detachments, 0);
  EXPECT_EQ(log_.messages(), (Lines{u"Calling Manifest cache executable",
                                    u"Successfully called Manifest cache executable"}));
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, ExitStatusIsNotJudged) {
  processes_.exitCode = 0xc0000005;
  EXPECT_TRUE(OpenCache(tests::plainOptions(), program_).launchExe({}));
  EXPECT_EQ(log_.messages().back(), u"Successfully called Manifest cache executable");
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, ArgumentsArePassedOn) {
  OpenCache(tests::plainOptions(), program_).launchExe({"a b", "", "\xE6\x97\xA5"});
  EXPECT_EQ(processes_.started.arguments, (Lines{u"a b", u"", u"\u65e5"}));
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, ProgramThatDoesNotStartIsOneLineWithTheReason) {
  processes_.startFailure = "caf\xC3\xA9";
  EXPECT_FALSE(OpenCache(tests::plainOptions(), program_).launchExe({}));
  EXPECT_EQ(log_.messages(), (Lines{u"Calling Manifest cache executable",
                                    u"Unable to call Manifest cache executable:caf\u00e9"}));
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, FailedWaitIsOneLineWithTheReason) {
  processes_.waitFailure = "x";
  EXPECT_FALSE(OpenCache(tests::plainOptions(), program_).launchExe({}));
  EXPECT_EQ(log_.messages(), (Lines{u"Calling Manifest cache executable",
                                    u"Unable to call Manifest cache executable:x"}));
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, ExecuteGoesOnAfterAFailure) {
  processes_.startFailure = "x";
  LaunchCppMicroServicesCacheExecutable const command(tests::plainOptions(), program_);
  EXPECT_NO_THROW(command.execute());
  EXPECT_EQ(log_.messages().size(), 2u);
}

TEST_F(LaunchCppMicroServicesCacheExecutableTest, CopyDoesWhatItsSourceDoes) {
  auto source =
      std::make_unique<LaunchCppMicroServicesCacheExecutable>(tests::plainOptions(), program_);
  LaunchCppMicroServicesCacheExecutable const copy(*source);
  source.reset();
  copy.execute();
  EXPECT_EQ(processes_.started.program, program_.ustring());
}

}  // namespace
}  // namespace registration::commands
