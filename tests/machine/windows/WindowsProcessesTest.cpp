#include <windows.h>

#include <gmock/gmock.h>

#include <mutex>
#include <sstream>

#include "machine/error.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/machine_fixture.hpp"

namespace {

using machine::ErrorCode;
using machine::ProcessOutput;
using machine::ProcessStart;
using machine::SystemError;
using machine::UString;
using Kind = ProcessOutput::Kind;

std::string lines(std::string const& text, int count) {
  std::string all;
  for (int i = 1; i <= count; ++i) {
    all += text + " " + std::to_string(i) + "\n";
  }
  return all;
}

std::string mergedLines(int count) {
  std::string all;
  for (int i = 1; i <= count; ++i) {
    all += "out " + std::to_string(i) + "\nerr " + std::to_string(i) + "\n";
  }
  return all;
}

ProcessOutput toFile(Kind kind, UString file) {
  return {kind, std::move(file), {}};
}

ProcessOutput toText(std::string& text) {
  return {Kind::pipe, {}, [&text](std::string_view bytes) { text += bytes; }};
}

ProcessOutput const discarded{Kind::discard, {}, {}};
ProcessOutput const merged{Kind::mergeWithOutput, {}, {}};

class WindowsProcesses : public tests::MachineTest {
 protected:
  static ProcessStart program(std::u16string_view name, std::vector<UString> arguments = {}) {
    ProcessStart start;
    start.program = tests::testProgram(name);
    start.arguments = std::move(arguments);
    return start;
  }

  std::uint32_t run(ProcessStart const& what) { return machine().processes().start(what)->wait(); }

  /// What print_arguments wrote: the arguments, then its standard handles' kinds.
  std::vector<std::string> linesPrinted(ProcessStart what) {
    what.arguments.insert(what.arguments.begin(), at(u"printed"));
    EXPECT_EQ(run(what), 0u);
    std::istringstream stream(readFile(at(u"printed")));
    std::vector<std::string> result;
    for (std::string line; std::getline(stream, line);) {
      result.push_back(line);
    }
    return result;
  }

  static std::string inHex(std::u16string_view text) {
    std::string result;
    for (char16_t const unit : text) {
      char digits[5];
      std::snprintf(digits, sizeof digits, "%04x", static_cast<unsigned>(unit));
      result += digits;
    }
    return result;
  }
};

TEST_F(WindowsProcesses, ExitCodesComeBackWhole) {
  for (std::uint32_t const code : {0u, 1u, 259u, 0x7fffffffu, 0x80070002u, 0xffffffffu}) {
    auto const text = machine::toUtf16(std::to_string(code));
    EXPECT_EQ(run(program(u"exit_with.exe", {text})), code);
  }
}

TEST_F(WindowsProcesses, TheExitCodeMayBeAskedForAgain) {
  auto const child = machine().processes().start(program(u"exit_with.exe", {u"3"}));
  EXPECT_EQ(child->wait(), 3u);
  EXPECT_EQ(child->wait(), 3u);
}

TEST_F(WindowsProcesses, ArgumentsArriveExactlyAsGiven) {
  std::vector<UString> const arguments{u"plain",
                                       u"",
                                       u"with blank",
                                       u"tab\there",
                                       u"\"quoted\"",
                                       u"trailing\\",
                                       u"a b\\",
                                       u"a b\\\\",
                                       u"back\\\"slash",
                                       u"\\\\srv\\share\\",
                                       u"*.exe",
                                       u"?",
                                       u"%PATH%",
                                       u"&|<>^()!",
                                       u"\u00e4\u00df\u0416\u4e16",
                                       u"\U0001F600 \U0001F680",
                                       u"'single quotes'",
                                       u"-option=\"a b\"",
                                       u"line\nbreak"};
  std::vector<std::string> expected;
  for (auto const& argument : arguments) {
    expected.push_back(inHex(argument));
  }
  auto printed = linesPrinted(program(u"print_arguments.exe", arguments));
  ASSERT_GE(printed.size(), 3u);
  printed.resize(printed.size() - 3);
  EXPECT_EQ(printed, expected);
}

TEST_F(WindowsProcesses, AProgramsPathMayHaveBlanksAndForeignLetters) {
  UString const copy = at(u"a folder \u4e16\\exit with.exe");
  writeFile(copy, readFile(tests::testProgram(u"exit_with.exe")));
  ProcessStart start;
  start.program = copy;
  start.arguments = {u"5"};
  EXPECT_EQ(run(start), 5u);
}

TEST_F(WindowsProcesses, PipedOutputIsReadToItsEnd) {
  std::string output;
  std::string error;
  auto start = program(u"write_streams.exe", {u"500"});
  start.standardOutput = toText(output);
  start.standardError = toText(error);
  EXPECT_EQ(run(start), 0u);
  EXPECT_EQ(output, lines("out", 500));
  EXPECT_EQ(error, lines("err", 500));
}

TEST_F(WindowsProcesses, MergedPipesKeepTheOrderWritten) {
  std::string output;
  auto start = program(u"write_streams.exe", {u"500"});
  start.standardOutput = toText(output);
  start.standardError = merged;
  EXPECT_EQ(run(start), 0u);
  EXPECT_EQ(output, mergedLines(500));
}

TEST_F(WindowsProcesses, OutputOverwritesAFile) {
  writeFile(at(u"out.txt"), std::string(100000, 'x'));
  auto start = program(u"write_streams.exe", {u"20"});
  start.standardOutput = toFile(Kind::overwriteFile, at(u"out.txt"));
  start.standardError = toFile(Kind::overwriteFile, at(u"err.txt"));
  EXPECT_EQ(run(start), 0u);
  EXPECT_EQ(readFile(at(u"out.txt")), lines("out", 20));
  EXPECT_EQ(readFile(at(u"err.txt")), lines("err", 20));
}

TEST_F(WindowsProcesses, OutputIsAppendedToAFile) {
  writeFile(at(u"out.txt"), "before\n");
  auto start = program(u"write_streams.exe", {u"20"});
  start.standardOutput = toFile(Kind::appendFile, at(u"out.txt"));
  start.standardError = toFile(Kind::appendFile, at(u"err.txt"));
  EXPECT_EQ(run(start), 0u);
  EXPECT_EQ(readFile(at(u"out.txt")), "before\n" + lines("out", 20));
  EXPECT_EQ(readFile(at(u"err.txt")), lines("err", 20));
}

TEST_F(WindowsProcesses, FilesMergedKeepTheOrderWritten) {
  for (auto const kind : {Kind::overwriteFile, Kind::appendFile}) {
    auto start = program(u"write_streams.exe", {u"50"});
    start.standardOutput = toFile(kind, at(u"both.txt"));
    start.standardError = merged;
    EXPECT_EQ(run(start), 0u);
    EXPECT_EQ(readFile(at(u"both.txt")), mergedLines(50));
    files().removeFile(at(u"both.txt"));
  }
}

TEST_F(WindowsProcesses, BothOutputsAppendedToOneFileKeepTheOrderWritten) {
  auto start = program(u"write_streams.exe", {u"50"});
  start.standardOutput = toFile(Kind::appendFile, at(u"both.txt"));
  start.standardError = toFile(Kind::appendFile, at(u"both.txt"));
  EXPECT_EQ(run(start), 0u);
  EXPECT_EQ(readFile(at(u"both.txt")), mergedLines(50));
}

TEST_F(WindowsProcesses, DiscardedOutputGoesNowhere) {
  std::string error;
  auto start = program(u"write_streams.exe", {u"20"});
  start.standardOutput = discarded;
  start.standardError = toText(error);
  EXPECT_EQ(run(start), 0u);
  EXPECT_EQ(error, lines("err", 20));
}

TEST_F(WindowsProcesses, InheritedOutputIsTheParentsOwn) {
  // The parent's standard output is put aside for a file while the child starts.
  HANDLE const before = GetStdHandle(STD_OUTPUT_HANDLE);
  HANDLE const file = CreateFileW(machine::toWide(at(u"own.txt")).c_str(), GENERIC_WRITE,
                                  FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
  SetStdHandle(STD_OUTPUT_HANDLE, file);
  auto start = program(u"write_streams.exe", {u"20"});
  start.standardError = discarded;
  auto const child = machine().processes().start(start);
  SetStdHandle(STD_OUTPUT_HANDLE, before);
  EXPECT_EQ(child->wait(), 0u);
  CloseHandle(file);
  EXPECT_EQ(readFile(at(u"own.txt")), lines("out", 20));
}

TEST_F(WindowsProcesses, StandardHandlesAreOfTheKindAskedFor) {
  std::string output;
  auto start = program(u"print_arguments.exe");
  start.standardOutput = toText(output);
  start.standardError = toFile(Kind::overwriteFile, at(u"err.txt"));
  auto const printed = linesPrinted(start);
  EXPECT_THAT(printed, testing::Contains("out: pipe"));
  EXPECT_THAT(printed, testing::Contains("error: file"));
}

TEST_F(WindowsProcesses, AParentWithoutStandardHandlesHandsOutTheNullDevice) {
  HANDLE const before = GetStdHandle(STD_OUTPUT_HANDLE);
  SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
  auto const printed = linesPrinted(program(u"print_arguments.exe"));
  SetStdHandle(STD_OUTPUT_HANDLE, before);
  EXPECT_THAT(printed, testing::Contains("out: character device"));
}

TEST_F(WindowsProcesses, AChildInheritsNoOtherHandle) {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE const event = CreateEventW(&inheritable, TRUE, FALSE, nullptr);
  auto const number = std::to_string(reinterpret_cast<std::uintptr_t>(event));

  run(program(u"set_event.exe", {machine::toUtf16(number)}));
  EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});

  // The same program started in the usual way does get the handle: the check above can fail.
  std::wstring line = L"x " + machine::toWide(machine::toUtf16(number));
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION created{};
  ASSERT_TRUE(CreateProcessW(machine::toWide(tests::testProgram(u"set_event.exe")).c_str(),
                             line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                             &created));
  WaitForSingleObject(created.hProcess, INFINITE);
  EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
  CloseHandle(created.hThread);
  CloseHandle(created.hProcess);
  CloseHandle(event);
}

TEST_F(WindowsProcesses, ChildrenRunWithoutWindowAndDetached) {
  for (bool const noWindow : {false, true}) {
    for (bool const detached : {false, true}) {
      std::string output;
      auto start = program(u"write_streams.exe", {u"3"});
      start.noWindow = noWindow;
      start.detached = detached;
      start.standardOutput = toText(output);
      start.standardError = merged;
      EXPECT_EQ(run(start), 0u);
      EXPECT_EQ(output, mergedLines(3));
    }
  }
}

TEST_F(WindowsProcesses, AReadersExceptionSurfacesFromWaitAfterTheChildsEnd) {
  int calls = 0;
  auto start = program(u"write_streams.exe", {u"20000"});
  start.standardOutput = {Kind::pipe, {}, [&calls](std::string_view) {
                            ++calls;
                            throw std::runtime_error("reader failed");
                          }};
  start.standardError = discarded;
  auto const child = machine().processes().start(start);
  EXPECT_THAT([&] { child->wait(); }, testing::ThrowsMessage<std::runtime_error>("reader failed"));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(child->wait(), 0u);
}

/// A child that has ended and a grandchild that keeps the child's pipe open.
class WindowsProcessesWithGrandchild : public WindowsProcesses {
 protected:
  WindowsProcessesWithGrandchild() {
    auto start = program(u"leave_grandchild.exe", {name(u"started"), name(u"end")});
    start.standardOutput = {Kind::pipe, {}, [this](std::string_view bytes) {
                              std::lock_guard const lock(mutex_);
                              output_ += bytes;
                            }};
    child_ = machine().processes().start(start);
    EXPECT_EQ(WaitForSingleObject(started_, 30000), DWORD{WAIT_OBJECT_0});
  }
  ~WindowsProcessesWithGrandchild() override {
    SetEvent(end_);
    CloseHandle(started_);
    CloseHandle(end_);
  }

  UString name(std::u16string_view what) const {
    return UString(machine::path_grammar::fileName(root())) + u"-" + UString(what);
  }

  HANDLE const started_ =
      CreateEventW(nullptr, TRUE, FALSE, machine::toWide(name(u"started")).c_str());
  HANDLE const end_ = CreateEventW(nullptr, TRUE, FALSE, machine::toWide(name(u"end")).c_str());
  std::mutex mutex_;
  std::string output_;
  std::unique_ptr<machine::ChildProcess> child_;
};

TEST_F(WindowsProcessesWithGrandchild, DetachDoesNotWaitForThePipesEnd) {
  child_->detach();
  EXPECT_NE(WaitForSingleObject(end_, 0), DWORD{WAIT_OBJECT_0});
}

TEST_F(WindowsProcessesWithGrandchild, TheDestructorDoesNotWaitForThePipesEnd) {
  child_.reset();
  EXPECT_NE(WaitForSingleObject(end_, 0), DWORD{WAIT_OBJECT_0});
}

TEST_F(WindowsProcessesWithGrandchild, WaitIncludesThePipesEnd) {
  SetEvent(end_);
  EXPECT_EQ(child_->wait(), 0u);
  EXPECT_EQ(output_, "started");
}

TEST_F(WindowsProcesses, ADetachedChildRunsOn) {
  UString const name(machine::path_grammar::fileName(root()));
  HANDLE const started = CreateEventW(nullptr, TRUE, FALSE, machine::toWide(name).c_str());
  HANDLE const end = CreateEventW(nullptr, TRUE, FALSE, machine::toWide(name + u"-end").c_str());
  auto start = program(u"leave_grandchild.exe", {name, name + u"-end", u"grandchild"});
  machine().processes().start(start)->detach();
  EXPECT_EQ(WaitForSingleObject(started, 30000), DWORD{WAIT_OBJECT_0});
  SetEvent(end);
  CloseHandle(started);
  CloseHandle(end);
}

TEST_F(WindowsProcesses, TheShellPassesParametersAsTheyStand) {
  auto const parameters = u"\"" + at(u"printed file") + u"\" \"a b\" c \u65E5";
  ASSERT_TRUE(
      machine().processes().shellExecute(tests::testProgram(u"print_arguments.exe"), parameters));
  std::string printed;
  EXPECT_TRUE(tests::eventually([&] {
    printed = exists(at(u"printed file")) ? readFile(at(u"printed file")) : "";
    return printed.find("error: ") != printed.npos;
  }));
  EXPECT_THAT(printed, testing::StartsWith(inHex(u"a b") + "\n" + inHex(u"c") + "\n" +
                                           inHex(u"\u65E5") + "\nin: "));
}

TEST_F(WindowsProcesses, TheShellsProgramIsNotWaitedFor) {
  UString const name(machine::path_grammar::fileName(root()));
  HANDLE const started = CreateEventW(nullptr, TRUE, FALSE, machine::toWide(name).c_str());
  HANDLE const end = CreateEventW(nullptr, TRUE, FALSE, machine::toWide(name + u"-end").c_str());
  // The program lives until the event that is set only after the call.
  EXPECT_TRUE(machine().processes().shellExecute(tests::testProgram(u"leave_grandchild.exe"),
                                                 name + u" " + name + u"-end grandchild"));
  EXPECT_EQ(WaitForSingleObject(started, 30000), DWORD{WAIT_OBJECT_0});
  SetEvent(end);
  CloseHandle(started);
  CloseHandle(end);
}

TEST_F(WindowsProcesses, AMissingProgramIsAnError) {
  ProcessStart start;
  start.program = at(u"missing.exe");
  EXPECT_THAT([&] { run(start); },
              testing::Throws<SystemError>(testing::Property(&SystemError::isMissing, true)));
  start.program.clear();
  EXPECT_THROW(run(start), SystemError);
}

TEST_F(WindowsProcesses, AFileThatIsNoProgramIsAnError) {
  writeFile(at(u"text.exe"), "no program");
  ProcessStart start;
  start.program = at(u"text.exe");
  EXPECT_THROW(run(start), SystemError);
}

TEST_F(WindowsProcesses, AProgramIsNotLookedForOnTheSearchPath) {
  ProcessStart start;
  start.program = u"cmd.exe";
  start.arguments = {u"/c", u"exit"};
  EXPECT_THROW(run(start), SystemError);
}

TEST_F(WindowsProcesses, BatchFilesAreRefused) {
  for (auto const* const name : {u"x.bat", u"x.CMD", u"x.bat.", u"x.cmd . "}) {
    writeFile(at(u"x.bat"), "exit 0");
    writeFile(at(u"x.cmd"), "exit 0");
    ProcessStart start;
    start.program = at(name);
    EXPECT_THAT([&] { run(start); },
                testing::Throws<SystemError>(testing::Property(
                    &SystemError::code, static_cast<std::uint32_t>(ErrorCode::badExeFormat))))
        << machine::toUtf8(name);
  }
}

TEST_F(WindowsProcesses, WhatMakesNoSenseIsRefused) {
  auto start = program(u"exit_with.exe");
  start.standardOutput = merged;
  EXPECT_THROW(run(start), std::invalid_argument);
  start.standardOutput = {Kind::pipe, {}, {}};
  EXPECT_THROW(run(start), std::invalid_argument);
  start.standardOutput = {Kind::appendFile, {}, {}};
  EXPECT_THROW(run(start), std::invalid_argument);
}

TEST_F(WindowsProcesses, ANulInAnArgumentIsRefused) {
  EXPECT_THROW(run(program(u"exit_with.exe", {UString(u"1\0002", 3)})), SystemError);
}

}  // namespace
