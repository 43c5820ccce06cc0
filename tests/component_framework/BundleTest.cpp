#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>
#include <thread>

#include "cppmicroservices/FrameworkEvent.h"
#include "tests/component_framework/framework_fixture.hpp"

namespace component_tests {
namespace {

using cppmicroservices::Any;
using cppmicroservices::any_cast;
using cppmicroservices::AnyMap;
using cppmicroservices::Bundle;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
using Events = std::vector<std::string>;

class BundleTest : public FrameworkTest {};

TEST_F(BundleTest, AnInstalledBundleIsDescribedByItsManifest) {
  Bundle const bundle = install("good/greeting");
  EXPECT_EQ(bundle.GetSymbolicName(), "greeting");
  EXPECT_EQ(bundle.GetVersion().ToString(), "1.2.3.beta");
  EXPECT_EQ(bundle.GetLocation(), utf8(bundleFile("good/greeting")));
  EXPECT_EQ(bundle.GetBundleId(), 1);
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_INSTALLED);
  EXPECT_FALSE(bundle.GetBundleContext());
  EXPECT_TRUE(any_cast<bool>(bundle.GetHeaders().at("Bundle.Activator")));
}

TEST_F(BundleTest, HeadersKeepTheirTypes) {
  auto const& headers = install("passive/passive").GetHeaders();
  auto const vendor = any_cast<AnyMap>(headers.at("vendor"));
  EXPECT_EQ(any_cast<std::string>(vendor.at("name")), "Brantix");
  EXPECT_EQ(any_cast<int>(vendor.at("founded")), 1984);
  EXPECT_EQ(any_cast<double>(vendor.at("share")), 0.5);
  EXPECT_EQ(vendor.count("wealth"), 0u) << "no int";
  EXPECT_EQ(vendor.at("slogan").ToString(), "slogan") << "without the mark of a translation";
  auto const words = any_cast<std::vector<Any>>(headers.at("words"));
  ASSERT_EQ(words.size(), 2u) << "null is left out";
  EXPECT_EQ(words[0].ToString(), "a");
  EXPECT_TRUE(any_cast<bool>(words[1]));
  EXPECT_THROW(any_cast<int>(words[0]), cppmicroservices::BadAnyCastException);
}

TEST_F(BundleTest, InstallingRunsNothing) {
  install("good/greeting");
  EXPECT_TRUE(journal->events.empty());
  EXPECT_EQ(greetings(), 0u);
}

TEST_F(BundleTest, StartRunsTheActivator) {
  Bundle bundle = install("good/greeting");
  bundle.Start();
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_ACTIVE);
  EXPECT_TRUE(bundle.GetBundleContext());
  EXPECT_EQ(journal->events, Events{"start greeting"});
  auto const reference = context().GetServiceReference<Greeting>();
  EXPECT_EQ(reference.GetBundle(), bundle);
  EXPECT_EQ(context().GetService(reference)->greet(), "hello from greeting");
  EXPECT_EQ(bundle.GetRegisteredServices().size(), 1u);
}

TEST_F(BundleTest, ASecondStartAndASecondStopDoNothing) {
  Bundle bundle = install("good/greeting");
  bundle.Start();
  bundle.Start();
  bundle.Stop();
  bundle.Stop();
  EXPECT_EQ(journal->events, (Events{"start greeting", "stop greeting"}));
}

TEST_F(BundleTest, ServicesAreUnregisteredWhenTheirBundleStops) {
  Bundle bundle = install("good/greeting");
  bundle.Start();
  auto const reference = context().GetServiceReference<Greeting>();
  auto const held = context().GetService(reference);
  bundle.Stop();
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_RESOLVED);
  EXPECT_FALSE(reference);
  EXPECT_FALSE(reference.IsConvertibleTo(us_service_interface_iid<Greeting>()));
  EXPECT_EQ(greetings(), 0u);
  EXPECT_FALSE(bundle.GetBundleContext());
  EXPECT_EQ(held->greet(), "hello from greeting, stopped") << "who holds the object keeps it";
}

TEST_F(BundleTest, AStoppedBundleStartsAgain) {
  Bundle bundle = install("good/greeting");
  bundle.Start();
  bundle.Stop();
  bundle.Start();
  EXPECT_EQ(greetings(), 1u);
}

TEST_F(BundleTest, ABundleInstalledTwiceIsTheSameBundle) {
  Bundle const first = install("good/greeting");
  EXPECT_EQ(install("good/greeting"), first);
  EXPECT_EQ(context().GetBundles().size(), 2u) << "the framework and the bundle";
  EXPECT_EQ(context().GetBundles(first.GetLocation()), std::vector<Bundle>{first});
  EXPECT_EQ(context().GetBundle(first.GetBundleId()), first);
  EXPECT_FALSE(context().GetBundle(77));
}

TEST_F(BundleTest, ASecondBundleOfTheSameNameAndVersionIsRefused) {
  install("twins/twin");
  auto const text = installFailure(bundleFile("twins/other_twin"));
  EXPECT_THAT(text, StartsWith("Failed to install bundle library at "));
  EXPECT_THAT(text, HasSubstr("a bundle with same symbolic name and version is already installed"));
  EXPECT_THAT(text, HasSubstr("(twin, 1.0.0)"));
  EXPECT_EQ(context().GetBundles().size(), 2u);
}

TEST_F(BundleTest, TwoVersionsOfOneBundleLiveSideBySide) {
  Bundle const first = install("good/greeting");
  Bundle const second = install("newer_greeting/newer_greeting");
  EXPECT_EQ(second.GetSymbolicName(), first.GetSymbolicName());
  EXPECT_GT(second.GetVersion().Compare(first.GetVersion()), 0);
}

TEST_F(BundleTest, ADllThatIsNoBundleIsRefused) {
  EXPECT_THAT(installFailure(bundleFile("no_bundle/no_bundle")),
              StartsWith("Could not init zip archive for bundle at "));
}

TEST_F(BundleTest, AMissingFileIsRefused) {
  EXPECT_THAT(installFailure(bundleFile("good/missing")), ::testing::EndsWith(" does not exist"));
}

TEST_F(BundleTest, WhatIsNoDllIsRefused) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "file.dll";
  for (std::string const text : {"", "M", "MZ",
                                 "text that is longer than any header is, so that it "
                                 "is read to its end, and then some more of it"}) {
    write(file, text);
    EXPECT_THAT(installFailure(file), StartsWith("Could not init zip archive")) << text;
  }
  EXPECT_THAT(installFailure(folder.path()), StartsWith("Could not init zip archive"));
}

TEST_F(BundleTest, AManifestThatIsNoJsonIsRefused) {
  auto const text = installFailure(bundleFile("broken_manifest/broken_manifest"));
  EXPECT_THAT(text, StartsWith("Failed to install bundle library at "));
  EXPECT_THAT(text, HasSubstr("Parsing of manifest.json for bundle "));
  EXPECT_THAT(text, HasSubstr(" failed: "));
}

TEST_F(BundleTest, AManifestWithoutANameIsRefused) {
  EXPECT_THAT(installFailure(bundleFile("nameless/nameless")),
              HasSubstr("bundle.symbolic_name is not defined"));
}

TEST_F(BundleTest, AManifestWithABadVersionIsRefused) {
  auto const text = installFailure(bundleFile("bad_version/bad_version"));
  EXPECT_THAT(text, HasSubstr("The Json value for bundle.version for bundle bad_version "));
  EXPECT_THAT(text, HasSubstr("is not valid: The version identifier is invalid: "));
}

TEST_F(BundleTest, AnActivatorThatThrowsOnStartLeavesTheBundleStopped) {
  Bundle bundle = install("throws_in_start/throws_in_start");
  auto const text = failure([&] { bundle.Start(); });
  EXPECT_THAT(text, HasSubstr("start failed: no start today"));
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_RESOLVED);
  EXPECT_FALSE(bundle.GetBundleContext());
  EXPECT_EQ(greetings(), 0u) << "the service it had registered by then";
}

TEST_F(BundleTest, AnActivatorThatThrowsOnStopLeavesTheBundleStopped) {
  Bundle bundle = install("throws_in_stop/throws_in_stop");
  bundle.Start();
  EXPECT_EQ(greetings(), 1u);
  auto const text = failure([&] { bundle.Stop(); });
  EXPECT_THAT(text, HasSubstr("BundleActivator::Stop() failed: no stop today"));
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_RESOLVED);
  EXPECT_EQ(greetings(), 0u);
}

TEST_F(BundleTest, AMissingActivatorFailsTheStart) {
  Bundle bundle = install("without_activator/without_activator");
  EXPECT_THAT(failure([&] { bundle.Start(); }), HasSubstr("activator constructor not found"));
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_RESOLVED);
}

TEST_F(BundleTest, ADllThatCannotBeLoadedFailsTheStart) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / (std::string("hollow") + BUNDLE_SUFFIX);
  write(file, content(bundleFile("good/greeting")));
  auto bundle = context().InstallBundles(utf8(file)).at(0);
  write(file, "no DLL any more");
  EXPECT_THAT(failure([&] { bundle.Start(); }), HasSubstr("hollow"));
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_RESOLVED);
}

TEST_F(BundleTest, WithoutTheActivatorHeaderNothingIsLoaded) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / (std::string("idle") + BUNDLE_SUFFIX);
  write(file, content(bundleFile("passive/passive")));
  auto bundle = context().InstallBundles(utf8(file)).at(0);
  std::filesystem::remove(file);
  bundle.Start();
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_ACTIVE);
}

TEST_F(BundleTest, AnUninstalledBundleIsGone) {
  Bundle bundle = install("good/greeting");
  bundle.Start();
  bundle.Uninstall();
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_UNINSTALLED);
  EXPECT_EQ(journal->events.back(), "stop greeting");
  EXPECT_EQ(context().GetBundles().size(), 1u);
  EXPECT_THROW(bundle.Start(), std::logic_error);
  EXPECT_THROW(bundle.Stop(), std::logic_error);
  EXPECT_THROW(bundle.Uninstall(), std::logic_error);
}

TEST_F(BundleTest, AnInvalidBundleRefusesEverything) {
  Bundle bundle;
  EXPECT_FALSE(bundle);
  EXPECT_THROW(bundle.Start(), std::invalid_argument);
  EXPECT_THROW(bundle.GetSymbolicName(), std::invalid_argument);
  EXPECT_THROW(bundle.GetBundleContext(), std::invalid_argument);
}

TEST_F(BundleTest, ManyThreadsInstallAndStartOneBundleOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([this] { install("good/greeting").Start(); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(journal->events, Events{"start greeting"});
  EXPECT_EQ(context().GetBundles().size(), 2u);
}

TEST(FrameworkTestAlone, GoesThroughItsStates) {
  auto framework = cppmicroservices::FrameworkFactory().NewFramework();
  EXPECT_EQ(framework.GetState(), Bundle::STATE_INSTALLED);
  EXPECT_FALSE(framework.GetBundleContext());
  framework.Init();
  EXPECT_EQ(framework.GetState(), Bundle::STATE_STARTING);
  EXPECT_TRUE(framework.GetBundleContext());
  framework.Start();
  EXPECT_EQ(framework.GetState(), Bundle::STATE_ACTIVE);
  auto context = framework.GetBundleContext();
  framework.Stop();
  EXPECT_EQ(framework.WaitForStop(std::chrono::milliseconds::zero()).GetType(),
            cppmicroservices::FrameworkEvent::FRAMEWORK_STOPPED);
  EXPECT_EQ(framework.GetState(), Bundle::STATE_RESOLVED);
  EXPECT_FALSE(context);
  EXPECT_EQ(failure([&] { context.GetServiceReferences<Greeting>(); }),
            "The bundle context is no longer valid");
}

TEST(FrameworkTestAlone, IsABundleOfItsOwn) {
  auto framework = cppmicroservices::FrameworkFactory().NewFramework();
  framework.Start();
  EXPECT_EQ(framework.GetSymbolicName(), "system_bundle");
  EXPECT_EQ(framework.GetLocation(), "System Bundle");
  EXPECT_EQ(framework.GetBundleId(), 0);
  EXPECT_THROW(framework.Uninstall(), std::runtime_error);
  EXPECT_EQ(framework.GetBundleContext().GetBundle(), framework);
  EXPECT_EQ(cppmicroservices::Framework(framework.GetBundleContext().GetBundle(0)), framework);
  EXPECT_THROW(cppmicroservices::Framework{Bundle()}, std::logic_error);
  EXPECT_EQ(framework.WaitForStop(std::chrono::milliseconds(1)).GetType(),
            cppmicroservices::FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
  framework.Stop();
}

TEST_F(BundleTest, TheFrameworkStopsItsBundles) {
  Bundle const second = install("good/second_greeting");
  Bundle const first = install("good/greeting");
  for (Bundle bundle : {second, first, install("passive/passive")}) {
    bundle.Start();
  }
  stopFramework();
  EXPECT_THAT(journal->events, UnorderedElementsAre("start second_greeting", "start greeting",
                                                    "stop greeting", "stop second_greeting"));
  EXPECT_EQ(first.GetState(), Bundle::STATE_INSTALLED);
}

TEST_F(BundleTest, AStopThatThrowsDoesNotKeepTheOthersFromStopping) {
  Bundle greeting = install("good/greeting");
  Bundle throwing = install("throws_in_stop/throws_in_stop");
  greeting.Start();
  throwing.Start();
  stopFramework();
  EXPECT_EQ(throwing.GetState(), Bundle::STATE_INSTALLED);
  EXPECT_EQ(journal->events.back(), "stop greeting");
}

TEST_F(BundleTest, AStoppedFrameworkForgetsItsBundles) {
  Bundle bundle = install("good/greeting");
  bundle.Start();
  stopFramework();
  EXPECT_THROW(bundle.Start(), std::runtime_error);
  framework.Start();
  EXPECT_EQ(bundle.GetState(), Bundle::STATE_INSTALLED);
  EXPECT_EQ(context().GetBundles().size(), 1u) << "the framework";
  EXPECT_EQ(greetings(), 0u);
  install("good/greeting").Start();
  EXPECT_EQ(greetings(), 1u);
}

TEST(BundleVersion, ReadsAndComparesFieldByField) {
  using cppmicroservices::BundleVersion;
  using namespace std::string_literals;
  EXPECT_EQ(BundleVersion("1"s).ToString(), "1.0.0");
  EXPECT_EQ(BundleVersion("1.2.3.rc-1_b"s).GetQualifier(), "rc-1_b");
  EXPECT_LT(BundleVersion("1.9"s).Compare(BundleVersion("1.10"s)), 0);
  EXPECT_EQ(BundleVersion("1.0"s), BundleVersion(1, 0, 0));
  for (auto const* text : {"x", "1.x", "1.2.3.a.b", "1.2.3.a b", "4294967296"}) {
    EXPECT_THROW(BundleVersion{std::string(text)}, std::invalid_argument) << text;
  }
  EXPECT_EQ(BundleVersion::ParseVersion(""), BundleVersion::EmptyVersion());
}

}  // namespace
}  // namespace component_tests
