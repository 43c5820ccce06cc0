#include <gtest/gtest.h>

#include "tests/machine/journal/journal_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/tools/regplan/golden.hpp"
#include "tests/tools/regplan/program_fixture.hpp"
#include "tools/regplan/plan.hpp"

namespace regplan {
namespace {

namespace fs = std::filesystem;

fs::path const goldenFolder = fs::path(REGPLAN_GOLDEN) / "full-plan";

/// The plan of every command, run under a journal and taken back from it.
class JournaledPlan : public ProgramTest {
 protected:
  JournaledPlan() {
    golden::writeTree("machine", golden::readTree(goldenFolder / "machine"));
    { machine::simulated::SimulatedMachine machine("machine"); }
    start_ = tests::snapshot("machine");
    PlanErrors errors;
    plan_ = readPlan(golden::readBytes(goldenFolder / "plan.json"), errors).value();
  }

  /// Executes all commands under a journal, then, with `undo`, takes them back in reverse order.
  void run(machine::Machine& machine, bool undo) const {
    machine::journal::JournalWriter writer("journal", machine, "full");
    machine::watch::WatchedMachine watched(machine, {&writer});
    machine::ScopedMachine const scope(watched);
    for (auto const& step : plan_.commands) step.command->execute();
    if (!undo) return;
    for (auto step = plan_.commands.rbegin(); step != plan_.commands.rend(); ++step) {
      step->command->undo();
    }
  }
  void expectStartAfterRestore(fs::path const& directory, fs::path const& journal) const {
    {
      machine::simulated::SimulatedMachine machine(directory);
      EXPECT_EQ(tests::troubles(machine::journal::restore(machine::journal::readJournal(journal),
                                                          machine, false)),
                "");
    }
    EXPECT_EQ(tests::difference(start_, tests::snapshot(directory)), "");
  }

  Plan plan_;
  std::map<std::string, std::string> start_;
};

TEST_F(JournaledPlan, IsTakenBackAfterItsRun) {
  {
    machine::simulated::SimulatedMachine machine("machine");
    run(machine, false);
  }
  EXPECT_NE(tests::snapshot("machine"), start_);
  expectStartAfterRestore("machine", "journal");
}

TEST_F(JournaledPlan, IsTakenBackAfterRunAndUndo) {
  {
    machine::simulated::SimulatedMachine machine("machine");
    run(machine, true);
  }
  expectStartAfterRestore("machine", "journal");
}

/// At a sample of all operations on the machine, those that read included.
TEST_F(JournaledPlan, IsTakenBackWhereverItWasStopped) {
  std::size_t const every = tests::isWine() ? 211 : 31;
  machine::simulated::SimulatedMachine machine("machine");
  tests::FaultyMachine faulty(machine);
  std::size_t operations = 0;
  faulty.faults().failWhen(
      [&](auto operation, auto subject) {
        if (++operations % every != 0) return false;
        machine.save();
        tests::TemporaryFolder const copy;
        tests::copyTree("machine", copy.path() / "machine");
        fs::copy_file("journal", copy.path() / "journal");
        if (fs::exists("journal.files")) {
          tests::copyTree("journal.files", copy.path() / "journal.files");
        }
        SCOPED_TRACE(std::string(operation) + " " + machine::toUtf8(subject));
        expectStartAfterRestore(copy.path() / "machine", copy.path() / "journal");
        return false;
      },
      machine::ErrorCode::success);
  run(faulty, true);
  EXPECT_GT(operations, 10 * every);
}

}  // namespace
}  // namespace regplan
