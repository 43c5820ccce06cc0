#include <gmock/gmock.h>

#include <sstream>

#include "machine/windows/guard_calls.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/machine_fixture.hpp"

namespace {

using machine::Guard;
using machine::GuardState;
using machine::ProcessOutput;
using machine::ProcessStart;
using machine::UString;
using machine::windows::GuardCalls;
using testing::ElementsAre;

std::vector<GuardState> statesOf(std::vector<Guard> const& guards) {
  std::vector<GuardState> states;
  for (Guard const& guard : guards) states.push_back(guard.state);
  return states;
}

/// A system that has every guard, and what was asked of it. Numbers are those of the system's
/// documentation: that its headers have the same is part of what is tested.
struct RecordedCalls {
  GuardCalls calls{
      [this](PROCESS_MITIGATION_POLICY policy, void* flags, SIZE_T size) {
        asked.push_back("policy " + std::to_string(policy) + " flags " +
                        std::to_string(*static_cast<DWORD*>(flags)) + " size " +
                        std::to_string(size));
        kept = *static_cast<DWORD*>(flags) & ~forgotten;
        return answer();
      },
      [this](HANDLE, PROCESS_MITIGATION_POLICY, void* flags, SIZE_T) {
        *static_cast<DWORD*>(flags) = kept;
        return TRUE;
      },
      [this](DWORD flags) {
        asked.push_back("DLL directories " + std::to_string(flags));
        return answer();
      },
      [this](wchar_t const* folder) {
        asked.push_back("DLL directory \"" + machine::toUtf8(machine::fromWide(folder)) + "\"");
        return answer();
      },
      [this](DWORD flags) {
        asked.push_back("search path mode " + std::to_string(flags));
        return answer();
      },
      [this](HANDLE heap, HEAP_INFORMATION_CLASS kind, void* value, SIZE_T size) {
        asked.push_back("heap " + std::to_string(kind) + (heap || value || size ? " of one" : ""));
        return answer();
      }};
  std::vector<std::string> asked{};
  DWORD error = ERROR_SUCCESS;
  DWORD forgotten = 0;
  DWORD kept = 0;

 private:
  BOOL answer() const {
    SetLastError(error);
    return error == ERROR_SUCCESS;
  }
};

TEST(Guards, EachIsAskedForWithItsNumbers) {
  RecordedCalls system;
  auto const states = statesOf(guardProcess(system.calls));
  EXPECT_THAT(states, testing::Each(GuardState::on));
  EXPECT_EQ(states.size(), system.asked.size());
  EXPECT_THAT(system.asked,
              ElementsAre("policy 16 flags 1 size 4",  // redirection trust: enforced
                          "policy 10 flags 7 size 4",  // images: not remote, not low, system's
                          "DLL directories 3584",      // 0x200 + 0x400 + 0x800
                          "DLL directory \"\"",        // not the current folder
                          "search path mode 32769",    // safe, permanent
                          "heap 1"));                  // ends the process
}

TEST(Guards, WhatTheSystemLacksIsNotOffered) {
  EXPECT_THAT(statesOf(guardProcess(GuardCalls{})), testing::Each(GuardState::notOffered));
  for (DWORD const error : {ERROR_INVALID_PARAMETER, ERROR_NOT_SUPPORTED}) {
    RecordedCalls system;
    system.error = error;
    EXPECT_THAT(statesOf(guardProcess(system.calls)), testing::Each(GuardState::notOffered));
    EXPECT_EQ(system.asked.size(), 6u) << "one that is missing keeps no other off";
  }
}

TEST(Guards, ARefusalIsToldWithTheSystemsReason) {
  RecordedCalls system;
  system.error = ERROR_ACCESS_DENIED;
  for (Guard const& guard : guardProcess(system.calls)) {
    EXPECT_EQ(guard.state, GuardState::refused) << guard.name;
    EXPECT_NE(guard.reason, "") << guard.name;
  }
}

TEST(Guards, APolicyThatIsAcceptedAndNotKeptIsNotOn) {
  RecordedCalls system;
  system.forgotten = 1;
  auto const guards = guardProcess(system.calls);
  EXPECT_EQ(guards[0].state, GuardState::notOffered);
  EXPECT_EQ(guards[1].state, GuardState::notOffered);
  EXPECT_EQ(guards[2].state, GuardState::on);
}

class GuardedProcess : public tests::MachineTest {
 protected:
  /// A user leaves a DLL in the folder from which an administrator's program is started, named as
  /// one that this program loads.
  GuardedProcess() {
    writeFile(at(u"planted.dll"), readFile(tests::testProgram(u"automation_server.dll")));
    files().setCurrentDirectory(root());
  }
  ~GuardedProcess() override { files().setCurrentDirectory(before_); }

  std::vector<std::string> load(UString const& guards, std::vector<UString> const& more = {}) {
    std::string text;
    ProcessStart start;
    start.program = tests::testProgram(u"guarded_load.exe");
    start.arguments = {guards, u"planted.dll"};
    start.arguments.insert(start.arguments.end(), more.begin(), more.end());
    start.standardOutput = {
        ProcessOutput::Kind::pipe, {}, [&text](std::string_view bytes) { text += bytes; }};
    EXPECT_EQ(machine().processes().start(start)->wait(), 0u);
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
      lines.push_back(line.substr(0, line.find('\r')));
    }
    return lines;
  }

 private:
  UString const before_ = files().currentDirectory();
};

TEST_F(GuardedProcess, ADllInTheCurrentFolderIsNotLoaded) {
  EXPECT_THAT(load(u"off"), ElementsAre("loaded")) << "what the guards are for";
  auto const lines = load(u"on");
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_EQ(lines.back(), "not found");
}

/// Its folder, the current one, is searched for it alone.
TEST_F(GuardedProcess, AModuleThatIsCalledByItsBareNameIsFound) {
  EXPECT_EQ(load(u"off", {at(u"planted.dll")}).back(), "called");
  EXPECT_EQ(load(u"on", {at(u"planted.dll")}).back(), "called");
}

/// Policies are Windows' own matter: Wine accepts them and does nothing.
TEST_F(GuardedProcess, TheSearchForCodeIsGuardedEverywhere) {
  auto const lines = load(u"on");
  EXPECT_THAT(lines,
              testing::IsSupersetOf(
                  {"DLLs are looked for in the system's folder and beside the program only: on",
                   "DLLs are not looked for in the current folder: on"}));
  for (std::string const& line : lines) {
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("refused")));
  }
}

}  // namespace
