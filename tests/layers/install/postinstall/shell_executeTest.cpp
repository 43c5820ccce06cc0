#include <gtest/gtest.h>

#include "install/postinstall/shell_execute.hpp"
#include "install/postinstall/system_directory.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace install::postinstall {
namespace {

using ShellExecute = tests::MachineTest;

TEST_F(ShellExecute, PassesProgramParametersAndResult) {
  class Recorded : public machine::ForwardingProcesses {
   public:
    using ForwardingProcesses::ForwardingProcesses;
    bool shellExecute(std::u16string_view program, std::u16string_view parameters) override {
      asked = machine::UString(program) + u"|" + machine::UString(parameters);
      return result;
    }
    machine::UString asked;
    bool result = true;
  } processes(machine().processes());
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(processes);
  machine::ScopedMachine const scope(substituted);
  EXPECT_TRUE(shellExecute(L"C:\\caf\u00e9.exe", L"/s \"a b\""));
  EXPECT_EQ(processes.asked, u"C:\\caf\u00e9.exe|/s \"a b\"");
  processes.result = false;
  EXPECT_FALSE(shellExecute(L"a", L""));
}

using SystemDirectory = tests::MachineTest;

TEST_F(SystemDirectory, IsTheMachines) {
  EXPECT_EQ(systemDirectory(), machine().shell().knownFolder(machine::KnownFolder::system));
}

TEST_F(SystemDirectory, ThrowsWhenTheSystemDoesNotTell) {
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  faulty.faults().failAt(1, machine::ErrorCode::accessDenied);
  EXPECT_THROW(systemDirectory(), machine::SystemError);
}

}  // namespace
}  // namespace install::postinstall
