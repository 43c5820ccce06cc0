#include <gtest/gtest.h>

#include "machine/simulated/simulated_machine.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace tests {

using machine::ErrorCode;
using machine::SystemError;
using machine::WriteMode;

class FaultyMachineTest : public testing::Test {
 protected:
  TemporaryFolder directory_;
  machine::simulated::SimulatedMachine inner_{directory_.path()};
  FaultyMachine machine_{inner_};

  void writeFile() {
    auto const writer = machine_.files().openForWriting(u"C:\\file", WriteMode::truncate);
    writer->write("bytes");
    writer->close();
  }
};

TEST_F(FaultyMachineTest, EveryOperationIsCountedWithThoseOfWriters) {
  writeFile();
  EXPECT_EQ(machine_.faults().count(), 3u);
  EXPECT_EQ(machine_.faults().operations(),
            (std::vector<std::string>{"openForWriting", "FileWriter::write", "FileWriter::close"}));
}

TEST_F(FaultyMachineTest, OnlyTheNthOperationFails) {
  for (std::size_t n = 1; n <= 3; ++n) {
    machine_.faults().failAt(n, ErrorCode::diskFull);
    try {
      writeFile();
      FAIL() << n;
    } catch (SystemError const& error) {
      EXPECT_TRUE(error.is(ErrorCode::diskFull));
      EXPECT_EQ(machine_.faults().count(), n);
    }
  }
  machine_.faults().failAt(4, ErrorCode::diskFull);
  EXPECT_NO_THROW(writeFile());
}

TEST_F(FaultyMachineTest, APredicatePicksWhatFails) {
  machine_.faults().failWhen(
      [](auto operation, auto subject) {
        return operation == "FileWriter::write" && subject == u"C:\\file";
      },
      ErrorCode::ioDevice);
  EXPECT_THROW(writeFile(), SystemError);
  machine_.faults().failNever();
  EXPECT_NO_THROW(writeFile());
}

TEST_F(FaultyMachineTest, AFailedOperationDoesNothing) {
  machine_.faults().failAt(1, ErrorCode::accessDenied);
  EXPECT_THROW(machine_.files().createDirectory(u"C:\\folder"), SystemError);
  EXPECT_FALSE(inner_.files().status(u"C:\\folder"));
}

TEST_F(FaultyMachineTest, SettingAVariableFailsByItsResult) {
  machine_.faults().failAt(1, ErrorCode::notEnoughMemory);
  EXPECT_FALSE(machine_.environment().setVariable(u"A", u"1"));
  EXPECT_EQ(machine_.environment().lastError(), 8u);
  EXPECT_FALSE(inner_.environment().variable(u"A"));
  EXPECT_TRUE(machine_.environment().setVariable(u"A", u"1"));
}

TEST_F(FaultyMachineTest, TheBroadcastsResultCanBeSet) {
  EXPECT_EQ(machine_.environment().broadcastSettingChange(), 1);
  machine_.setBroadcastResult(0);
  EXPECT_EQ(machine_.environment().broadcastSettingChange(), 0);
}

}  // namespace tests
