#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/layers/vortanconnector/installationsregistry/sandboxed_registry.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/machine_fixture.hpp"
#include "vortanconnector/installationsregistry/installations_registry.hpp"

namespace vortanconnector::installationsregistry {
namespace {

using nlohmann::json;

class TwoWriters : public tests::MachineTest {
 protected:
  std::unique_ptr<machine::ChildProcess> start(std::vector<UString> arguments) {
    machine::ProcessStart start;
    start.program = tests::testProgram(u"add_vortan_records.exe");
    start.arguments = std::move(arguments);
    start.arguments.insert(start.arguments.begin(), programData_);
    return machine().processes().start(start);
  }
  json records() {
    return json::parse(
        readFile(programData_ + u"\\Brantix\\Installations\\installations.json"))["installations"];
  }

  UString const programData_ = at(u"ProgramData");
};

TEST_F(TwoWriters, ProcessesAtOnceLoseNoRecord) {
  auto const one = start({u"D", u"25"});
  auto const two = start({u"E", u"25"});
  EXPECT_EQ(one->wait(), 0u);
  EXPECT_EQ(two->wait(), 0u);
  EXPECT_EQ(records().size(), 50u);
}

TEST_F(TwoWriters, AKilledOneLeavesTheOldFileAndNoLock) {
  EXPECT_EQ(start({u"D", u"1"})->wait(), 0u);
  EXPECT_EQ(start({u"E", u"1", u"kill"})->wait(), 99u);
  EXPECT_EQ(records().size(), 1u);
  EXPECT_TRUE(exists(programData_ + u"\\Brantix\\Installations\\installations.json.tmp"));
  EXPECT_EQ(start({u"F", u"1"})->wait(), 0u);
  EXPECT_EQ(records().size(), 2u);
}

}  // namespace
}  // namespace vortanconnector::installationsregistry
