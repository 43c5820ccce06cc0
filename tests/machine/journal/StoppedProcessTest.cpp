#include "tests/machine/journal/journal_fixture.hpp"
#include "tests/support/faulty_machine.hpp"

namespace tests {

namespace fs = std::filesystem;

/// What a process leaves behind that is stopped dead. Before each operation on the machine, those
/// that read included, its folder and the journal are copied as they are on the disk: so every
/// moment is there in which an operation is about to come, or has been carried out while the
/// journal does not say so yet.
class StoppedProcess : public JournalTest {
 protected:
  /// Calls `examine(machine, journal)` with the copies of each moment that `chosen()` picks, under
  /// Wine, where each takes long, of a sample.
  template <class Chosen, class Examine>
  void forEachMoment(Chosen const& chosen, Examine const& examine) {
    simulated::SimulatedMachine machine(directory());
    FaultyMachine faulty(machine);
    journal::JournalWriter writer(journal(), faulty, "test");
    watch::WatchedMachine watched(faulty, {&writer});
    std::size_t moment = 0;
    std::size_t examined = 0;
    faulty.faults().failWhen(
        [&](auto operation, auto subject) {
          ++moment;
          if (!chosen() || examined++ % (isWine() ? 7 : 1) != 0) return false;
          machine.save();
          TemporaryFolder const copy;
          copyTree(directory(), copy.path() / "machine");
          copyJournal(copy.path() / "journal");
          SCOPED_TRACE(std::to_string(moment) + ": " + std::string(operation) + " " +
                       toUtf8(subject));
          examine(copy.path() / "machine", copy.path() / "journal");
          return false;
        },
        ErrorCode::success);
    changeMuch(watched);
    EXPECT_GT(examined, 50u);
  }

  static std::size_t lastLine(std::string const& bytes) {
    return bytes.rfind('\n', bytes.size() - 2) + 1;
  }

  void copyJournal(fs::path const& target) const {
    fs::copy_file(journal(), target);
    fs::path const files = journal().string() + ".files";
    if (fs::exists(files)) copyTree(files, target.string() + ".files");
  }

  void expectStartAfterRestore(fs::path const& directory, fs::path const& file) const {
    {
      simulated::SimulatedMachine machine(directory);
      auto const report = journal::restore(journal::readJournal(file), machine, {});
      EXPECT_EQ(troubles(report), "");
    }
    EXPECT_EQ(difference(start(), snapshot(directory)), "");
    EXPECT_EQ(difference(startTimes(), writeTimes(directory)), "");
  }
};

TEST_F(StoppedProcess, IsTakenBackWhateverOperationItWasAt) {
  forEachMoment([] { return true; },
                [&](fs::path const& directory, fs::path const& file) {
                  EXPECT_EQ(journal::readJournal(file).damage, std::nullopt);
                  expectStartAfterRestore(directory, file);
                });
}

/// While the record of a change to come is written the change has not begun: the machine is as it
/// was before the announcement, or as any reading since has found it.
TEST_F(StoppedProcess, IsTakenBackWhenItWasWritingARecord) {
  std::uintmax_t size = 0;
  auto const isAnnounced = [&] {
    if (std::exchange(size, fs::file_size(journal())) == size) return false;
    auto const bytes = bytesOf(journal());
    return bytes.find("\"record\":{\"a", lastLine(bytes)) != std::string::npos;
  };
  forEachMoment(isAnnounced, [&](fs::path const& directory, fs::path const& file) {
    fs::resize_file(file, (lastLine(bytesOf(file)) + size) / 2);
    EXPECT_TRUE(journal::readJournal(file).damage);
    expectStartAfterRestore(directory, file);
  });
}

}  // namespace tests
