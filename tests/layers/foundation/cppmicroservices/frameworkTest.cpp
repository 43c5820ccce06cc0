#include <gmock/gmock.h>

#include <thread>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "foundation/cppmicroservices/framework.hpp"
#include "machine/error.hpp"
#include "machine/forwarding.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/substituted_machine.hpp"

namespace foundation::cppmicroservices {
namespace {

using fl::filesystem::Path;
using machine::UString;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Keeps what it is told and admits nothing.
class ListeningModules final : public machine::ForwardingModules {
 public:
  using ForwardingModules::ForwardingModules;
  bool admitBundles(std::u16string_view folder, std::vector<UString> const& modules) override {
    folder_ = folder;
    modules_ = modules;
    return false;
  }
  UString folder_;
  std::vector<UString> modules_;
};

class ComponentFramework : public tests::MachineTest {
 protected:
  ComponentFramework() { listening_.replace(modules_); }
  tests::SubstitutedMachine listening_{machine()};
  ListeningModules modules_{machine().modules()};
};

TEST_F(ComponentFramework, IsOneForTheProcessAndStarted) {
  auto const framework = getFramework();
  EXPECT_EQ(framework, getFramework());
  EXPECT_EQ(framework.GetState(), ::cppmicroservices::Bundle::STATE_ACTIVE);
  EXPECT_TRUE(framework.GetBundleContext());
}

TEST_F(ComponentFramework, IsTheSameForEveryThread) {
  std::vector<::cppmicroservices::Bundle> seen(8);
  std::vector<std::thread> threads;
  for (auto& bundle : seen) {
    threads.emplace_back([&bundle] { bundle = getFramework(); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(seen, ::testing::Each(::testing::Eq(getFramework())));
}

TEST_F(ComponentFramework, TheMachineHearsOfTheModulesDirectlyInTheFolderSorted) {
  for (auto const* name : {u"b.dll", u"a.DLL", u"readme.txt", u".dll", u"sub\\c.dll", u"dll"}) {
    writeFile(at(name), "x");
  }
  makeDirectory(at(u"folder.dll"));
  machine::ScopedMachine const scope(listening_);
  EXPECT_THAT(installAndStart(Path(root())), IsEmpty());
  EXPECT_EQ(modules_.folder_, root());
  EXPECT_THAT(modules_.modules_, ElementsAre(at(u"a.DLL"), at(u"b.dll")));
}

TEST_F(ComponentFramework, ARelativeFolderIsTakenFromTheCurrentOne) {
  writeFile(at(u"bin\\a.dll"), "x");
  auto const before = files().currentDirectory();
  ASSERT_TRUE(files().setCurrentDirectory(root()));
  machine::ScopedMachine const scope(listening_);
  installAndStart(Path(u"bin"));
  files().setCurrentDirectory(before);
  EXPECT_THAT(modules_.modules_, ElementsAre(at(u"bin\\a.dll")));
}

TEST_F(ComponentFramework, AFolderWithoutBundlesIsFine) {
  EXPECT_THAT(installAndStart(Path(root())), IsEmpty());
}

TEST_F(ComponentFramework, AMissingFolderIsNamed) {
  try {
    installAndStart(Path(at(u"missing")));
    ADD_FAILURE();
  } catch (std::exception const& thrown) {
    EXPECT_THAT(thrown.what(), ::testing::HasSubstr(machine::toUtf8(at(u"missing"))));
  }
}

}  // namespace
}  // namespace foundation::cppmicroservices
