#include <gmock/gmock.h>

#include <stdexcept>
#include <utility>

#include "foundation/core/process.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/recorded_processes.hpp"
#include "tests/support/substituted_machine.hpp"

namespace foundation::core::process {
namespace {

using Kind = machine::ProcessOutput::Kind;
using testing::ElementsAre;

class Process : public tests::MachineTest {
 protected:
  Process() { substituted_.replace(processes); }

  tests::RecordedProcesses processes;

 private:
  tests::SubstitutedMachine substituted_{machine()};
  machine::ScopedMachine scope_{substituted_};
};

TEST_F(Process, PassesProgramAndArgumentsAsUtf16) {
  process(command("C:\\caf\xC3\xA9\\a.exe", {"-m", "", "a \"b\"", "caf\xC3\xA9\\"}), context());
  EXPECT_EQ(processes.started.program, u"C:\\caf\u00E9\\a.exe");
  EXPECT_THAT(processes.started.arguments, ElementsAre(u"-m", u"", u"a \"b\"", u"caf\u00E9\\"));
}

TEST_F(Process, InheritsAndSharesTheConsoleUnlessToldOtherwise) {
  process(command("a.exe"), context());
  EXPECT_FALSE(processes.started.noWindow);
  EXPECT_FALSE(processes.started.detached);
  EXPECT_EQ(processes.started.standardOutput.kind, Kind::inherit);
  EXPECT_EQ(processes.started.standardError.kind, Kind::inherit);
}

TEST_F(Process, PassesTheContextOn) {
  std::string read;
  process(command("a.exe"),
          context()
              .create_no_window(true)
              .detached_process(true)
              .std_out(target::pipe([&](std::string_view bytes) { read += bytes; }))
              .std_err(target::merge_with_std_out()));
  EXPECT_TRUE(processes.started.noWindow);
  EXPECT_TRUE(processes.started.detached);
  EXPECT_EQ(processes.started.standardOutput.kind, Kind::pipe);
  processes.started.standardOutput.reader("bytes");
  EXPECT_EQ(read, "bytes");
  EXPECT_EQ(processes.started.standardError.kind, Kind::mergeWithOutput);
}

TEST_F(Process, NamesTheFilesOfItsOutput) {
  process(
      command("a.exe"),
      context().std_out(target::overwrite(u"C:\\out.txt")).std_err(target::append(u"C:\\err.txt")));
  EXPECT_EQ(processes.started.standardOutput.kind, Kind::overwriteFile);
  EXPECT_EQ(processes.started.standardOutput.file, u"C:\\out.txt");
  EXPECT_EQ(processes.started.standardError.kind, Kind::appendFile);
  EXPECT_EQ(processes.started.standardError.file, u"C:\\err.txt");
  process(command("a.exe"), context().std_out(target::discard()).std_err(target::inherit()));
  EXPECT_EQ(processes.started.standardOutput.kind, Kind::discard);
  EXPECT_EQ(processes.started.standardError.kind, Kind::inherit);
}

TEST_F(Process, RefusesToMergeStandardOutputWithItself) {
  EXPECT_THROW(process(command("a.exe"), context().std_out(target::merge_with_std_out())),
               std::invalid_argument);
  EXPECT_THROW(target::pipe(nullptr), std::invalid_argument);
}

TEST_F(Process, ThrowsWhenTheChildCannotBeStarted) {
  processes.startFailure = "x";
  EXPECT_THROW(process(command("a.exe"), context()), std::runtime_error);
}

TEST_F(Process, ExitStatusMayBeAskedAgain) {
  processes.exitCode = 0xC0000005;
  process child(command("a.exe"), context());
  EXPECT_EQ(child.exit_status(), 0xC0000005u);
  EXPECT_EQ(child.exit_status(), 0xC0000005u);
}

TEST_F(Process, DetachLetsTheChildRunOn) {
  process child(command("a.exe"), context());
  child.detach();
  child.detach();
  EXPECT_EQ(processes.detachments, 1);
  EXPECT_EQ(processes.waits, 0);
  EXPECT_THROW(child.exit_status(), std::logic_error);
}

TEST_F(Process, DetachAfterTheEndDoesNothing) {
  processes.exitCode = 3;
  process child(command("a.exe"), context());
  child.exit_status();
  child.detach();
  EXPECT_EQ(processes.detachments, 0);
  EXPECT_EQ(child.exit_status(), 3u);
}

TEST_F(Process, GivesItsChildUpWhenItGoesOrIsMoved) {
  {
    process first(command("a.exe"), context());
    process second = std::move(first);
    EXPECT_EQ(processes.children, 1);
    EXPECT_EQ(second.exit_status(), 0u);
  }
  EXPECT_EQ(processes.children, 0);
}

TEST_F(Process, AFailedWaitIsThrownAndMayBeRepeated) {
  processes.exitCode = 5;
  processes.waitFailure = "x";
  process child(command("a.exe"), context());
  EXPECT_THROW(child.exit_status(), std::runtime_error);
  processes.waitFailure.clear();
  EXPECT_EQ(child.exit_status(), 5u);
}

}  // namespace
}  // namespace foundation::core::process
