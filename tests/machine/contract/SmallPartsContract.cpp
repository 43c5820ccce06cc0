#include <algorithm>
#include <stdexcept>
#include <vector>

#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::KnownFolder;
using machine::ProcessOutput;
using machine::SystemError;

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
