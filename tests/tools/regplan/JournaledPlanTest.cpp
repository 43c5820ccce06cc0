#include <gtest/gtest.h>

#include "tests/machine/journal/journal_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/tools/regplan/full_plan.hpp"
#include "tools/regplan/plan.hpp"

namespace regplan {
namespace {

namespace fs = std::filesystem;

/// The plan of every command, run under a journal and taken back from it.
class JournaledPlan : public FullPlanTest {
 protected:
  JournaledPlan() {
    start_ = tests::snapshot("machine");
    PlanErrors errors;
    plan_ = readPlan(golden::readBytes("plan.json"), errors).value();
  }

  /// Executes all commands under a journal, then, with `undo`, takes them back in reverse order. A
  /// failure ends its command only.
  void run(
      machine::Machine& machine, bool undo, fs::path const& journal = "journal",
      std::function<void()> const& begun = [] {}) const {
    machine::journal::JournalWriter writer(journal, machine, "full");
    begun();
    machine::watch::WatchedMachine watched(machine, {&writer});
    machine::ScopedMachine const scope(watched);
    for (auto const& step : plan_.commands) attempt([&] { step.command->execute(); });
    if (!undo) return;
    for (auto step = plan_.commands.rbegin(); step != plan_.commands.rend(); ++step) {
      attempt([&] { step->command->undo(); });
    }
  }
  void expectStartAfterRestore(fs::path const& directory, fs::path const& journal) const {
    {
      machine::simulated::SimulatedMachine machine(directory);
      EXPECT_EQ(tests::troubles(
                    machine::journal::restore(machine::journal::readJournal(journal), machine, {})),
                "");
    }
    EXPECT_EQ(tests::difference(start_, tests::snapshot(directory)), "");
  }

  Plan plan_;
  std::map<std::string, std::string> start_;

 private:
  template <class Step>
  static void attempt(Step const& step) {
    try {
      step();
    } catch (std::exception const&) {
      // What a command did before it failed stays.
    }
  }
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

/// At a sample of all operations, those that read included.
TEST_F(JournaledPlan, IsTakenBackWhateverOperationFailed) {
  std::size_t const every = tests::isWine() ? 61 : 23;
  std::size_t operations = every + 1;
  for (std::size_t failing = 1; failing < operations; failing += every) {
    SCOPED_TRACE(failing);
    tests::TemporaryFolder const copy;
    tests::copyTree("machine", copy.path() / "machine");
    {
      machine::simulated::SimulatedMachine machine(copy.path() / "machine");
      tests::FaultyMachine faulty(machine);
      run(faulty, false, copy.path() / "journal",
          [&] { faulty.faults().failAt(failing, machine::ErrorCode::ioDevice); });
      operations = faulty.faults().count();
    }
    expectStartAfterRestore(copy.path() / "machine", copy.path() / "journal");
  }
  EXPECT_GT(operations, 10 * every);
}

/// Whatever operation it was at, those that read included; under Wine, where each restore takes
/// long, at a sample of them. Moments at which nothing has happened since the last one are left
/// out.
TEST_F(JournaledPlan, IsTakenBackWhereverItWasStopped) {
  std::size_t const every = tests::isWine() ? 61 : 1;
  machine::simulated::SimulatedMachine machine("machine");
  tests::FaultyMachine faulty(machine);
  std::map<std::string, std::string> last;
  std::size_t moments = 0;
  faulty.faults().failWhen(
      [&](auto operation, auto subject) {
        if (!fs::exists("journal")) return false;
        machine.save();
        auto now = tests::snapshot("machine");
        now["the journal"] = std::to_string(fs::file_size("journal"));
        if (std::exchange(last, now) == now || moments++ % every != 0) return false;
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
  EXPECT_GT(moments, 200u);
}

}  // namespace
}  // namespace regplan
