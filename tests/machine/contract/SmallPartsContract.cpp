#include <stdexcept>

#include "tests/machine/contract/contract.hpp"

namespace contract {

using machine::ModuleCall;
using machine::ProcessOutput;
using machine::SystemError;
using machine::UString;

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

TEST_P(ProcessesContract, TheShellOpensAProgram) {
  EXPECT_TRUE(machine().processes().shellExecute(under().program().program, u"/c exit"));
}

TEST_P(ProcessesContract, TheShellRefusesAMissingProgram) {
  EXPECT_FALSE(machine().processes().shellExecute(in(u"none.exe"), u""));
}

TEST_P(ProcessesContract, TheShellTakesNoNul) {
  auto const program = under().program().program;
  EXPECT_FALSE(machine().processes().shellExecute(program, UString(u"/c\0exit", 7)));
  EXPECT_FALSE(machine().processes().shellExecute(program + UString(1, u'\0'), u"/c exit"));
}

TEST_P(ModulesContract, AnExportedFunctionIsCalled) {
  EXPECT_EQ(call(under().module()), ModuleCall::called);
}

TEST_P(ModulesContract, AFunctionNotExportedIsNotCalled) {
  for (auto const* name : {"RegisterOLEServer", "registeroleserver2", "OLEServer2", "", "None"})
    EXPECT_EQ(call(under().module(), name), ModuleCall::noEntryPoint) << name;
  EXPECT_EQ(call(under().module(), std::string("RegisterOLEServer2\0", 19)),
            ModuleCall::noEntryPoint);
}

TEST_P(ModulesContract, AMissingModuleIsNotLoaded) {
  EXPECT_EQ(call(in(u"none.dll")), ModuleCall::notLoaded);
  EXPECT_EQ(call(u"registration-contract-none"), ModuleCall::notLoaded);
}

TEST_P(ModulesContract, WhatIsNoModuleIsNotLoaded) {
  machine().files().createDirectory(in(u"folder.dll"));
  machine().files().openForWriting(in(u"empty.dll"), machine::WriteMode::createNew);
  EXPECT_EQ(call(in(u"folder.dll")), ModuleCall::notLoaded);
  EXPECT_EQ(call(in(u"empty.dll")), ModuleCall::notLoaded);
}

TEST_P(ModulesContract, ANameWithANulOrNoneAtAllIsNotLoaded) {
  EXPECT_EQ(call(under().module() + UString(u"\0x", 2)), ModuleCall::notLoaded);
  EXPECT_EQ(call(u""), ModuleCall::notLoaded);
}

TEST_P(ModulesContract, ABareNameIsLookedForInTheCurrentFolder) {
  auto& files = machine().files();
  files.openForWriting(in(u"contract-copy.dll"), machine::WriteMode::createNew)
      ->write(content(under().module()));
  EXPECT_EQ(call(u"contract-copy.dll"), ModuleCall::notLoaded);
  auto const before = files.currentDirectory();
  ASSERT_TRUE(files.setCurrentDirectory(in(u"")));
  auto const whole = call(u"contract-copy.dll");
  auto const withoutExtension = callOf(in(u"contract-copy.dll"), u"contract-copy");
  files.setCurrentDirectory(before);
  EXPECT_EQ(whole, ModuleCall::called);
  EXPECT_EQ(withoutExtension, ModuleCall::called);
}

TEST_P(ModulesContract, AnotherFileOfThatNameIsReleasedAndNotCalled) {
  auto& files = machine().files();
  files.createDirectory(in(u"planted"));
  auto const planted = in(u"planted\\contract-checked.dll");
  for (auto const& file : {planted, in(u"contract-checked.dll")})
    files.openForWriting(file, machine::WriteMode::createNew)->write(content(under().module()));
  auto const before = files.currentDirectory();
  ASSERT_TRUE(files.setCurrentDirectory(in(u"planted")));
  try {
    callOf(in(u"contract-checked.dll"), u"contract-checked.dll");
    ADD_FAILURE() << "the planted module was called";
  } catch (machine::OtherModule const& other) {
    EXPECT_EQ(other.what(), machine::toUtf8(planted) + " was found in place of " +
                                machine::toUtf8(in(u"contract-checked.dll")));
  }
  files.setCurrentDirectory(before);
  EXPECT_FALSE(files.status(in(u"automation_server.txt"))) << "what the module's function writes";
  EXPECT_TRUE(files.removeFile(planted)) << "it is released";
}

TEST_P(ModulesContract, TheModuleIsReleased) {
  auto& files = machine().files();
  auto const copy = in(u"contract-released.dll");
  files.openForWriting(copy, machine::WriteMode::createNew)->write(content(under().module()));
  ASSERT_EQ(call(copy), ModuleCall::called);
  EXPECT_TRUE(files.removeFile(copy));
}

TEST_P(ClockContract, TimeDoesNotRunBackwards) {
  auto const before = machine().clock().now();
  EXPECT_LE(before, machine().clock().now());
  EXPECT_GT(before, std::chrono::system_clock::time_point());
}

}  // namespace contract
