#pragma once

#include "machine/simulated/simulated_machine.hpp"
#include "tests/tools/regplan/program_fixture.hpp"

namespace regplan {

/// A plan of every command, "plan.json", and "machine", on which each has something to do.
class FullPlanTest : public ProgramTest {
 protected:
  FullPlanTest() {
    golden::writeTree("machine", given_);
    golden::writeBytes("plan.json", golden::readBytes(goldenFolder() / "plan.json"));
    machine::simulated::SimulatedMachine machine("machine");
    machine.registry().setValue({machine::RegistryRoot::localMachine,
                                 u"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full"},
                                u"Install", machine::RegistryValue::ofDword(1));
    // Otherwise it goes by the folder, and differs from run to run.
    machine.registry().setValue(
        {machine::RegistryRoot::localMachine, u"SOFTWARE\\Microsoft\\Cryptography"}, u"MachineGuid",
        machine::RegistryValue::ofText(u"00112233-4455-6677-8899-aabbccddeeff"));
    machine.save();
  }

  static std::filesystem::path goldenFolder() {
    return std::filesystem::path(REGPLAN_GOLDEN) / "full-plan";
  }
  /// What the golden folder gave the machine.
  golden::Tree const& given() const { return given_; }

 private:
  golden::Tree const given_ = golden::readTree(goldenFolder() / "machine");
};

}  // namespace regplan
