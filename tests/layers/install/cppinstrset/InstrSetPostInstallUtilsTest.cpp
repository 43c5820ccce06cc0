#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "install/cppinstrset/InstrSetPostInstallUtils.hpp"
#include "machine/error.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace install::cppinstrset {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InstrSetPostInstallUtilsOnMachine : public tests::MachineTest {
 protected:
  void makeSet(std::u16string_view folder) {
    writeFile(machine::path_grammar::join(at(folder), u"instructionset.json"), R"({"version":1})");
  }
  static std::vector<UString> rootsBelow(UString const& root) {
    std::vector<UString> roots;
    for (auto const& [folder, set] : InstrSetPostInstallUtils().getInstrSetRootToComponentMap(root))
      roots.push_back(folder);
    return roots;
  }
};

TEST_F(InstrSetPostInstallUtilsOnMachine, FindsSetsAtEveryDepthInTheOrderOfTheirRoots) {
  makeSet(u"instructionsets\\b");
  makeSet(u"instructionsets\\a\\deep\\er");
  makeSet(u"instructionsets\\B2");
  EXPECT_THAT(rootsBelow(root()),
              ElementsAre(at(u"instructionsets\\B2"), at(u"instructionsets\\a\\deep\\er"),
                          at(u"instructionsets\\b")));
}

TEST_F(InstrSetPostInstallUtilsOnMachine, NoFolderMeansNoSets) {
  EXPECT_THAT(rootsBelow(root()), IsEmpty());
  EXPECT_THAT(rootsBelow(at(u"missing")), IsEmpty());
}

TEST_F(InstrSetPostInstallUtilsOnMachine, FilesElsewhereOrOfOtherNamesAreNoSets) {
  makeSet(u"elsewhere");
  writeFile(at(u"instructionsets\\a\\instructionset.json.bak"), "");
  makeDirectory(at(u"instructionsets\\b\\instructionset.json"));
  EXPECT_THAT(rootsBelow(root()), IsEmpty());
}

TEST_F(InstrSetPostInstallUtilsOnMachine, CaseOfTheFileNameDoesNotMatter) {
  writeFile(at(u"instructionsets\\a\\InstructionSet.JSON"), R"({"version":1})");
  EXPECT_THAT(rootsBelow(root()), ElementsAre(at(u"instructionsets\\a")));
}

TEST_F(InstrSetPostInstallUtilsOnMachine, RootsAreNativeWhateverTheGivenRootIs) {
  makeSet(u"instructionsets\\a");
  UString forward = root();
  std::replace(forward.begin(), forward.end(), u'\\', u'/');
  EXPECT_THAT(rootsBelow(forward), ElementsAre(at(u"instructionsets\\a")));
}

TEST_F(InstrSetPostInstallUtilsOnMachine, SetIsTheOneOfItsFile) {
  writeFile(at(u"instructionsets\\a\\instructionset.json"),
            R"({"version":1,"VortanPaths":["of a"]})");
  auto const sets = InstrSetPostInstallUtils().getInstrSetRootToComponentMap(root());
  ASSERT_EQ(sets.size(), 1u);
  EXPECT_THAT(sets.begin()->second->get_VortanPaths(), ElementsAre("of a"));
}

TEST_F(InstrSetPostInstallUtilsOnMachine, BrokenSetIsListedAndThrowsWhenItIsAsked) {
  makeSet(u"instructionsets\\a");
  writeFile(at(u"instructionsets\\b\\instructionset.json"), "broken");
  auto const sets = InstrSetPostInstallUtils().getInstrSetRootToComponentMap(root());
  ASSERT_EQ(sets.size(), 2u);
  EXPECT_NO_THROW(sets.at(at(u"instructionsets\\a"))->get_envVariables());
  EXPECT_THROW(sets.at(at(u"instructionsets\\b"))->get_envVariables(), std::runtime_error);
}

TEST_F(InstrSetPostInstallUtilsOnMachine, FolderThatCannotBeReadIsAnError) {
  makeSet(u"instructionsets\\a");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "openDirectory"; },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_THROW(rootsBelow(root()), machine::SystemError);
}

}  // namespace
}  // namespace install::cppinstrset
