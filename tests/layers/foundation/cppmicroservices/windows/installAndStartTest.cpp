#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/ServiceObjects.h"
#include "foundation/cppmicroservices/framework.hpp"
#include "machine/forwarding.hpp"
#include "machine/processes.hpp"
#include "tests/component_framework/bundles/interfaces.hpp"
#include "tests/support/machine_fixture.hpp"

namespace foundation::cppmicroservices {
namespace {

using component_tests::Greeting;
using fl::filesystem::Path;
using ::testing::HasSubstr;

std::filesystem::path built(std::string const& name) {
  return std::filesystem::absolute(std::filesystem::path(BUNDLES_FOLDER) / name);
}

/// The bundles a test installs are gone from the framework afterwards.
class InstallAndStart : public tests::MachineTest {
 protected:
  ~InstallAndStart() override {
    for (auto& bundle : getFramework().GetBundleContext().GetBundles()) {
      if (bundle.GetBundleId() != 0) {
        bundle.Uninstall();
      }
    }
  }
  static Path folder(std::string const& name) {
    return Path(machine::fromWide(built(name).make_preferred().wstring()));
  }
  static std::vector<std::string> greetings() {
    std::vector<std::string> texts;
    auto context = getFramework().GetBundleContext();
    for (auto const& reference : context.GetServiceReferences<Greeting>()) {
      texts.push_back(context.GetService(reference)->greet());
    }
    return texts;
  }
  static std::string failure(std::string const& name) {
    try {
      installAndStart(folder(name));
      return "(nothing thrown)";
    } catch (std::runtime_error const& thrown) {
      return thrown.what();
    }
  }
};

TEST_F(InstallAndStart, StartsEveryBundleOfTheFolder) {
  auto const bundles = installAndStart(folder("good"));
  ASSERT_EQ(bundles.size(), 2u);
  EXPECT_EQ(bundles[0].GetSymbolicName(), "greeting");
  EXPECT_EQ(bundles[1].GetSymbolicName(), "second_greeting");
  EXPECT_EQ(bundles[1].GetState(), ::cppmicroservices::Bundle::STATE_ACTIVE);
  EXPECT_EQ(greetings(),
            (std::vector<std::string>{"hello from greeting", "hello from second_greeting"}));
}

TEST_F(InstallAndStart, BundlesGoOnWhenTheResultIsLetGo) {
  installAndStart(folder("good"));
  EXPECT_EQ(greetings().size(), 2u);
}

TEST_F(InstallAndStart, ASecondTimeGivesTheRunningBundles) {
  auto const first = installAndStart(folder("good"));
  EXPECT_EQ(installAndStart(folder("good")), first);
  EXPECT_EQ(greetings().size(), 2u);
}

TEST_F(InstallAndStart, ADllThatIsNoBundleIsPassedOver) {
  EXPECT_TRUE(installAndStart(folder("no_bundle")).empty());
}

TEST_F(InstallAndStart, ABundleWithABrokenManifestFails) {
  EXPECT_THAT(failure("broken_manifest"), HasSubstr("Failed to install bundle library at "));
}

TEST_F(InstallAndStart, TwoBundlesOfOneNameAndVersionFailBeforeAnyStarts) {
  EXPECT_THAT(failure("twins"), HasSubstr("is already installed (twin, 1.0.0)"));
  EXPECT_TRUE(greetings().empty());
}

TEST_F(InstallAndStart, AnActivatorThatThrowsFails) {
  EXPECT_THAT(failure("throws_in_start"), HasSubstr("no start today"));
  EXPECT_TRUE(greetings().empty());
}

TEST_F(InstallAndStart, BundlesStopInReverseOrderWhenTheProcessEnds) {
  auto const record = at(u"record.txt");
  machine::ProcessStart start;
  start.program = machine::fromWide(built("..\\end_of_process.exe").make_preferred().wstring());
  start.arguments = {folder("good").ustring(), record};
  EXPECT_EQ(machine().processes().start(start)->wait(), 0u);
  EXPECT_EQ(readFile(record),
            "start greeting\nstart second_greeting\nstop second_greeting\nstop greeting\n");
}

}  // namespace
}  // namespace foundation::cppmicroservices
