#include <stdexcept>

#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::ProcessOutput;
using machine::SystemError;

TEST_P(ProcessesContract, TheExitCodeMayBeAskedAgain) {
  auto const child = machine().processes().start(under().program());
  EXPECT_EQ(child->wait(), 0u);
  EXPECT_EQ(child->wait(), 0u);
}

TEST_P(ProcessesContract, AChildMayBeLetGo) {
  machine().processes().start(under().program())->detach();
}

TEST_P(ProcessesContract, AMissingProgramThrows) {
  machine::ProcessStart start;
  start.program = in(u"none.exe");
  try {
    machine().processes().start(start);
    FAIL();
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.isMissing()) << error.what();
  }
}

TEST_P(ProcessesContract, StandardOutputCannotBeMergedWithItself) {
  auto start = under().program();
  start.standardOutput.kind = ProcessOutput::Kind::mergeWithOutput;
  EXPECT_THROW(machine().processes().start(start), std::invalid_argument);
}

TEST_P(ProcessesContract, AnOverwrittenFileLosesItsContent) {
  machine().files().openForWriting(in(u"out"), machine::WriteMode::truncate)->write("old");
  auto start = under().program();
  start.standardOutput = {ProcessOutput::Kind::overwriteFile, in(u"out"), {}};
  EXPECT_EQ(machine().processes().start(start)->wait(), 0u);
  EXPECT_EQ(machine().files().status(in(u"out"))->size, 0u);
}

TEST_P(ProcessesContract, AnAppendedFileKeepsItsContent) {
  machine().files().openForWriting(in(u"out"), machine::WriteMode::truncate)->write("old");
  auto start = under().program();
  start.standardOutput = {ProcessOutput::Kind::appendFile, in(u"out"), {}};
  EXPECT_EQ(machine().processes().start(start)->wait(), 0u);
  EXPECT_EQ(machine().files().status(in(u"out"))->size, 3u);
}

TEST_P(ClockContract, TimeDoesNotRunBackwards) {
  auto const before = machine().clock().now();
  EXPECT_LE(before, machine().clock().now());
  EXPECT_GT(before, std::chrono::system_clock::time_point());
}

}  // namespace contract
