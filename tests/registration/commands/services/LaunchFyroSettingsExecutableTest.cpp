#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/LaunchFyroSettingsExecutable.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/recorded_processes.hpp"
#include "tests/support/substituted_machine.hpp"

namespace registration::commands {
namespace {

using Kind = machine::ProcessOutput::Kind;
using Values = utility::Options::Values;
using Arguments = std::vector<std::string>;

utility::Options::Values requested() {
  Values values;
  values.usageDataSettingsRequested = true;
  values.rootPath = u"C:\\Program Files\\\u65e5";
  values.usageDataSettingsArgument = u"caf\u00e9 \"x\"";
  return values;
}

/// Every call to the outside replaced.
class FakedSettings : public LaunchFyroSettingsExecutable {
 public:
  FakedSettings(Values const& values, Path const& executable)
      : LaunchFyroSettingsExecutable(utility::Options(values), executable) {}

  std::vector<Arguments> mutable launches;
  bool result = true;

 protected:
  bool launchExe(Arguments const& arguments) const override {
    launches.push_back(arguments);
    return result;
  }
};

class LaunchFyroSettingsExecutableTest : public tests::CommandTest {
 protected:
  LaunchFyroSettingsExecutableTest() {
    substituted_.replace(processes_);
    writeFile(program_, "x");
  }
  ~LaunchFyroSettingsExecutableTest() override {
    EXPECT_TRUE(log_.messages().empty()) << "this command logs nothing";
  }

  Path const program_ = root() / u"settings \u65e5.exe";
  Values values_ = requested();
  tests::RecordedProcesses processes_;

 private:
  tests::LogCapture log_;
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine scope_{substituted_};
};

TEST_F(LaunchFyroSettingsExecutableTest, FiveArgumentsInUtf8) {
  FakedSettings const command(values_, program_);
  command.execute();
  EXPECT_EQ(command.launches, (std::vector<Arguments>{{"-m", "C:\\Program Files\\\xE6\x97\xA5",
                                                       "-i", "caf\xC3\xA9 \"x\"", "-s"}}));
}

TEST_F(LaunchFyroSettingsExecutableTest, TheOptionAddsASixthAtTheEnd) {
  values_.settingsToolOptionSet = true;
  FakedSettings const command(values_, program_);
  command.execute();
  ASSERT_EQ(command.launches.size(), 1u);
  EXPECT_EQ(command.launches.front().size(), 6u);
  EXPECT_EQ(command.launches.front().back(), "-c");
}

TEST_F(LaunchFyroSettingsExecutableTest, EmptyTextsStayArguments) {
  values_.rootPath.clear();
  values_.usageDataSettingsArgument.clear();
  FakedSettings const command(values_, program_);
  command.execute();
  EXPECT_EQ(command.launches, (std::vector<Arguments>{{"-m", "", "-i", "", "-s"}}));
}

TEST_F(LaunchFyroSettingsExecutableTest, NotRequestedStartsNothingEvenIfTheToolExists) {
  values_.usageDataSettingsRequested = false;
  FakedSettings const command(values_, program_);
  command.execute();
  EXPECT_TRUE(command.launches.empty());
}

TEST_F(LaunchFyroSettingsExecutableTest, SkippedSystemIntegrationIsNotAsked) {
  values_.systemIntegrationSkipped = true;
  FakedSettings const command(values_, program_);
  command.execute();
  EXPECT_EQ(command.launches.size(), 1u);
}

TEST_F(LaunchFyroSettingsExecutableTest, MissingToolIsPassedOverWithoutAWord) {
  FakedSettings const missing(values_, root() / u"none.exe");
  FakedSettings const unnamed(values_, Path());
  missing.execute();
  unnamed.execute();
  EXPECT_TRUE(missing.launches.empty());
  EXPECT_TRUE(unnamed.launches.empty());
}

TEST_F(LaunchFyroSettingsExecutableTest, LaunchThatSaysFalseIsNoFailure) {
  FakedSettings command(values_, program_);
  command.result = false;
  EXPECT_NO_THROW(command.execute());
}

TEST_F(LaunchFyroSettingsExecutableTest, UndoDoesNothing) {
  FakedSettings const command(values_, program_);
  command.undo();
  EXPECT_TRUE(command.launches.empty());
}

TEST_F(LaunchFyroSettingsExecutableTest, StartsWithoutWindowAndOutputAndLetsGo) {
  LaunchFyroSettingsExecutable(utility::Options(values_), program_).execute();
  EXPECT_EQ(processes_.started.program, program_.ustring());
  EXPECT_EQ(processes_.started.arguments,
            (std::vector<UString>{u"-m", values_.rootPath, u"-i", values_.usageDataSettingsArgument,
                                  u"-s"}));
  EXPECT_TRUE(processes_.started.noWindow);
  EXPECT_FALSE(processes_.started.detached);
  EXPECT_EQ(processes_.started.standardOutput.kind, Kind::discard);
  EXPECT_EQ(processes_.started.standardError.kind, Kind::discard);
  EXPECT_EQ(processes_.detachments, 1);
  EXPECT_EQ(processes_.waits, 0);
}

TEST_F(LaunchFyroSettingsExecutableTest, FailureToStartLeavesTheCall) {
  processes_.startFailure = "x";
  LaunchFyroSettingsExecutable const command{utility::Options(values_), program_};
  EXPECT_THROW(command.execute(), std::runtime_error);
}

TEST_F(LaunchFyroSettingsExecutableTest, CopyDoesWhatItsSourceDoes) {
  auto source = std::make_unique<LaunchFyroSettingsExecutable>(utility::Options(values_), program_);
  LaunchFyroSettingsExecutable const copy(*source);
  source.reset();
  copy.execute();
  EXPECT_EQ(processes_.started.arguments.size(), 5u);
}

}  // namespace
}  // namespace registration::commands
