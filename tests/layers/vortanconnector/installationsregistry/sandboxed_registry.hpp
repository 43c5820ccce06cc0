#pragma once

#include "machine/forwarding.hpp"
#include "tests/support/substituted_machine.hpp"

namespace tests {

/// Another machine whose ProgramData is a folder of the test's own.
class SandboxedRegistry {
 public:
  SandboxedRegistry(machine::Machine& base, machine::UString programData)
      : shell_(base.shell(), std::move(programData)), machine_(base) {
    machine_.replace(shell_);
  }

  machine::Machine& machine() { return machine_; }

 private:
  class Shell final : public machine::ForwardingShell {
   public:
    Shell(machine::Shell& inner, machine::UString programData)
        : ForwardingShell(inner), programData_(std::move(programData)) {}
    machine::UString knownFolder(machine::KnownFolder folder) override {
      return folder == machine::KnownFolder::programData ? programData_
                                                         : inner().knownFolder(folder);
    }

   private:
    machine::UString programData_;
  };

  Shell shell_;
  SubstitutedMachine machine_;
};

}  // namespace tests
