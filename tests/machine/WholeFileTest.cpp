#include "machine/whole_file.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace machine {
namespace {

class WholeFile : public tests::MachineTest {
 protected:
  tests::FaultyMachine faulty_{machine()};
};

TEST_F(WholeFile, ReadsAllUpToTheLimit) {
  std::string const content(10'000, 'x');
  writeFile(at(u"file"), content);
  EXPECT_EQ(machine::readFile(files(), at(u"file"), content.size()), content);
  EXPECT_THROW(machine::readFile(files(), at(u"file"), content.size() - 1), SystemError);
  EXPECT_EQ(machine::readFile(files(), at(u"none"), 1), std::nullopt);
}

TEST_F(WholeFile, ReplacingMakesTheFileOrItsContentAnew) {
  replaceFile(files(), at(u"file"), "one");
  EXPECT_EQ(MachineTest::readFile(at(u"file")), "one");
  replaceFile(files(), at(u"file"), "");
  EXPECT_EQ(MachineTest::readFile(at(u"file")), "");
  EXPECT_FALSE(exists(at(u"file.tmp")));
}

TEST_F(WholeFile, WhicheverStepFailsTheOldContentStaysAndNothingElse) {
  writeFile(at(u"file"), "old");
  faulty_.faults().failAt(1000, ErrorCode::ioDevice);
  replaceFile(faulty_.files(), at(u"file"), "new");
  auto const steps = faulty_.faults().count();
  ASSERT_GE(steps, 5u);
  for (std::size_t n = 1; n <= steps; ++n) {
    writeFile(at(u"file"), "old");
    faulty_.faults().failAt(n, ErrorCode::ioDevice);
    EXPECT_THROW(replaceFile(faulty_.files(), at(u"file"), "new"), SystemError) << n;
    EXPECT_EQ(MachineTest::readFile(at(u"file")), "old") << n;
    EXPECT_FALSE(exists(at(u"file.tmp"))) << n;
  }
}

#if !defined(_WIN32)
TEST_F(WholeFile, ALinkInTheTemporaryNamesPlaceIsNotWrittenThrough) {
  writeFile(at(u"victim"), "precious");
  std::filesystem::create_symlink(hostPath(at(u"victim")), hostPath(at(u"file.tmp")));
  replaceFile(files(), at(u"file"), "new");
  EXPECT_EQ(MachineTest::readFile(at(u"victim")), "precious");
  EXPECT_EQ(MachineTest::readFile(at(u"file")), "new");
}
#endif

}  // namespace
}  // namespace machine
