#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#if !defined(_WIN32)
#include <unistd.h>
#endif

#include "bundles/desktopservicesetup/implementation/DesktopServiceSetup.hpp"
#include "machine/command_line.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/service_host.hpp"
#include "tests/support/trouble_capture.hpp"
#include "tests/support/wine.hpp"

namespace desktopservicesetup {
namespace {

using Result = DesktopServiceSetupResult;
using machine::ErrorCode;
using machine::ServiceState;

class SetupTest : public tests::ServiceHostTest {
 protected:
  Path root() const { return MachineTest::root(); }
  Path current() const { return currentRoot(); }
  Path temporaryRoot() const { return in(u"_tempinstaller_win64"); }

  Result installShipped() {
    auto const result = setup.unpackInstaller(current(), u"zci.zip");
    return result == Result::success ? setup.installServiceHost(current(), current(), true)
                                     : result;
  }
  Result downloadLatest() {
    auto const result = setup.downloadLatestInstaller(root());
    return result == Result::success ? setup.downloadLatestPackage(root()) : result;
  }
  Result installLatest() {
    auto result = downloadLatest();
    if (result == Result::success) result = setup.unpackInstaller(temporaryRoot(), u"zci.zip");
    return result == Result::success ? setup.installServiceHost(temporaryRoot(), current(), false)
                                     : result;
  }
  /// What is in the current root, names only.
  std::vector<machine::UString> entries(machine::UString const& folder) {
    std::vector<machine::UString> names;
    auto const listing = files().openDirectory(folder);
    for (machine::DirectoryEntry entry; listing->next(entry);) names.emplace_back(entry.name);
    return names;
  }
  using Names = std::vector<machine::UString>;

  DesktopServiceSetup setup;
};

// ---- Unpacking

TEST_F(SetupTest, UnpacksTheInstallerPackageBesideIt) {
  ship("1.0");
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  EXPECT_EQ(entries(currentRoot()), (Names{u"installer", u"packages", u"zci.zip"}));
  EXPECT_TRUE(exists(in(u"installer\\service.json")));
}

TEST_F(SetupTest, UnpackingAgainReplacesWhatWasThere) {
  ship("1.0");
  writeFile(in(u"installer\\old"), "x");
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  EXPECT_FALSE(exists(in(u"installer\\old")));
}

TEST_F(SetupTest, MissingInstallerPackageHasItsOwnResult) {
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::packageMissing);
  EXPECT_EQ(setup.unpackInstaller(current(), u""), Result::packageMissing);
}

TEST_F(SetupTest, DamagedInstallerPackageLeavesWhatWasThere) {
  writeFile(in(u"installer\\old"), "x");
  writeFile(in(u"zci.zip"), tests::zipOf({{"../evil", "x"}}));
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::packageRefused);
  tests::ZipMember wrong{"a", "content"};
  wrong.both.crc = 1;
  writeFile(in(u"zci.zip"), tests::zipOf({wrong}));
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::packageRefused);
  EXPECT_EQ(entries(in(u"installer")), Names{u"old"});
  EXPECT_EQ(entries(currentRoot()), (Names{u"installer", u"zci.zip"}));
}

TEST_F(SetupTest, AFailureIsLoggedWithItsReason) {
  tests::LogCapture const log;
  setup.unpackInstaller(current(), u"zci.zip");
  ASSERT_EQ(log.messages().size(), 1u);
  EXPECT_TRUE(log.messages()[0].starts_with(u"Brantix Service Host setup: "));
  EXPECT_NE(log.messages()[0].find(u"zci.zip"), machine::UString::npos);
}

TEST_F(SetupTest, AFailureIsTroubleThatNamesItsFileAndReason) {
  auto const troubleOf = [](auto const& step) -> std::string {
    tests::LogCapture const log;
    tests::TroubleCapture const trouble;
    EXPECT_NE(step(), Result::success);
    EXPECT_EQ(trouble.reports().size(), 1u);
    EXPECT_EQ(log.messages().size(), 1u);
    if (trouble.reports().empty() || log.messages().empty()) return "";
    auto const& told = trouble.reports()[0];
    EXPECT_EQ(told.severity, install::cpputil::trouble::severity::error);
    EXPECT_EQ(told.logged_lines, 1u);
    EXPECT_EQ(told.text, log.messages()[0]);
    return trouble.texts()[0];
  };
  std::string const head = "Brantix Service Host setup: ";
  auto const nameOf = [this](std::u16string_view file) { return machine::toUtf8(in(file)); };
  auto const install = [this] { return setup.installServiceHost(current(), current(), true); };

  EXPECT_EQ(troubleOf([this] { return setup.unpackInstaller(current(), u""); }),
            head + "there is no installer package in " + machine::toUtf8(currentRoot()));
  ship("1.0");
  ASSERT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  std::u16string_view const package = u"packages\\win64\\brantixservicehost.zip";
  writeFile(in(package), tests::zipOf({{"version.txt", "1.0"}}));
  EXPECT_EQ(troubleOf(install), head + nameOf(package) + " lacks the program bin\\host.exe");
  writeFile(in(u"installer\\service.json"), "{");
  EXPECT_EQ(troubleOf(install),
            head + nameOf(u"installer\\service.json") +
                ":1:2: not JSON: syntax error while parsing object key - unexpected end of input; "
                "expected string literal");
  EXPECT_EQ(troubleOf([this] { return setup.installServiceHost(current(), u"sys", true); }),
            head + "the folder to install to is not absolute: sys");
}

/// A lock of the machine that tells who holds it.
class WatchedLock final : public machine::MachineLock {
 public:
  std::shared_ptr<Held> acquire(std::chrono::milliseconds) override {
    if (isBusy) throw machine::SystemError("lock the machine", u"it", ErrorCode::timeout);
    auto held = std::make_shared<Held>();
    held_ = held;
    return held;
  }
  bool isHeld() const { return !held_.expired(); }
  bool isBusy = false;

 private:
  std::weak_ptr<Held> held_;
};

TEST_F(SetupTest, HoldsTheMachineFromItsFirstOperationToItsLast) {
  WatchedLock lock;
  tests::SubstitutedMachine locked(machine::current());
  locked.replace(lock);
  machine::ScopedMachine const scope(locked);
  ship("1.0");
  DesktopServiceSetup installing;
  ASSERT_EQ(installing.unpackInstaller(current(), u"zci.zip"), Result::success);
  EXPECT_TRUE(lock.isHeld());
  ASSERT_EQ(installing.installServiceHost(current(), current(), true), Result::success);
  EXPECT_TRUE(lock.isHeld());
  installing.removeSource(Path(temporary(u"")));
  EXPECT_FALSE(lock.isHeld());
}

TEST_F(SetupTest, DoesNothingWhileAnotherProcessHoldsTheMachine) {
  WatchedLock lock;
  lock.isBusy = true;
  tests::SubstitutedMachine locked(machine::current());
  locked.replace(lock);
  machine::ScopedMachine const scope(locked);
  ship("1.0");
  DesktopServiceSetup installing;
  tests::TroubleCapture const trouble;
  EXPECT_EQ(installing.unpackInstaller(current(), u"zci.zip"), Result::failed);
  EXPECT_EQ(installing.installServiceHost(current(), current(), true), Result::failed);
  EXPECT_EQ(installing.downloadLatestInstaller(root()), Result::failed);
  EXPECT_EQ(installing.downloadLatestPackage(root()), Result::failed);
  std::string version;
  EXPECT_THROW(installing.queryVersions(root(), version, version), install::cpputil::machine_busy);
  EXPECT_EQ(serviceState(), std::nullopt);
  EXPECT_FALSE(exists(in(u"installer")));
  EXPECT_EQ(trouble.texts().at(0),
            "Brantix Service Host setup: another installation, removal or restore has not ended "
            "within 600 seconds");
}

TEST_F(SetupTest, WhatAnInterruptedReplacementLeftIsPutRight) {
  ship("1.0");
  writeFile(in(u"installer.old\\kept"), "x");
  writeFile(in(u"installer.new\\half"), "x");
  writeFile(in(u"zci.zip"), "damaged");
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::packageRefused);
  ship("1.0");
  EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  EXPECT_EQ(entries(currentRoot()), (Names{u"installer", u"packages", u"zci.zip"}));
}

// ---- Installing

TEST_F(SetupTest, InstallsAndStartsTheService) {
  ship("1.0");
  ASSERT_EQ(installShipped(), Result::success);
  EXPECT_EQ(installedVersion(), "1.0\n");
  EXPECT_EQ(serviceState(), ServiceState::running);
  auto const definition = *machine().services().definition(service);
  EXPECT_EQ(definition.displayName, u"Brantix Service Host");
  EXPECT_EQ(definition.start, machine::ServiceStart::automatic);
  EXPECT_EQ(definition.commandLine,
            u"\"" + in(u"servicehost\\bin\\host.exe") + u"\" BrantixServiceHost");
}

TEST_F(SetupTest, TheServiceIsRestartedAfterAFailure) {
  if (tests::isWine()) GTEST_SKIP() << "Wine keeps no recovery actions";
  ship("1.0");
  ASSERT_EQ(installShipped(), Result::success);
  auto const recovery = machine().services().definition(service)->recovery;
  ASSERT_FALSE(recovery.actions.empty());
  for (auto const& action : recovery.actions) {
    EXPECT_EQ(action.kind, machine::ServiceRecovery::Kind::restart);
  }
}

TEST_F(SetupTest, AProgramBelowAFolderWithBlanksStandsInQuotes) {
  ship("1.0");
  ASSERT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  Path const target = at(u"Program Files of a test");
  makeDirectory(target.ustring());
  ASSERT_EQ(setup.installServiceHost(current(), target, true), Result::success);
  EXPECT_TRUE(machine().services().definition(service)->commandLine.starts_with(
      u"\"" + target.ustring() + u"\\servicehost\\bin\\host.exe\""));
}

TEST_F(SetupTest, UpgradesARunningServiceInPlace) {
  ship("1.0");
  ASSERT_EQ(installShipped(), Result::success);
  ship("2.0");
  writeFile(in(u"servicehost\\left over"), "x");
  EXPECT_EQ(installShipped(), Result::success);
  EXPECT_EQ(installedVersion(), "2.0\n");
  EXPECT_FALSE(exists(in(u"servicehost\\left over")));
  EXPECT_EQ(serviceState(), ServiceState::running);
  EXPECT_EQ(entries(currentRoot()), (Names{u"installer", u"packages", u"servicehost", u"zci.zip"}));
}

TEST_F(SetupTest, MissingPackageHasItsOwnResult) {
  ship("1.0");
  files().removeFile(in(u"packages\\win64\\brantixservicehost.zip"));
  EXPECT_EQ(installShipped(), Result::packageMissing);
  EXPECT_EQ(serviceState(), std::nullopt);
}

TEST_F(SetupTest, DamagedPackageLeavesTheRunningService) {
  ship("1.0");
  ASSERT_EQ(installShipped(), Result::success);
  std::string damaged = hostPackage("2.0");
  damaged.resize(damaged.size() - 5);
  writeFile(in(u"packages\\win64\\brantixservicehost.zip"), damaged);
  EXPECT_EQ(installShipped(), Result::packageRefused);
  EXPECT_EQ(installedVersion(), "1.0\n");
  EXPECT_EQ(serviceState(), ServiceState::running);
}

TEST_F(SetupTest, PackageWithoutItsProgramIsRefused) {
  ship("1.0");
  writeFile(in(u"packages\\win64\\brantixservicehost.zip"),
            tests::zipOf({{"version.txt", "1.0"}, {"bin/host.exe/", "", false}}));
  EXPECT_EQ(installShipped(), Result::packageRefused);
  EXPECT_EQ(serviceState(), std::nullopt);
  EXPECT_FALSE(exists(in(u"servicehost")));
}

TEST_F(SetupTest, InstallerThatDoesNotSayHowToRunTheHostIsRefused) {
  ship("1.0");
  for (std::string const text :
       {"", "[]", "{}", R"({"version": 2, "program": "a", "arguments": []})",
        R"({"version": 1, "program": "", "arguments": []})",
        R"({"version": 1, "program": "../a.exe", "arguments": []})",
        R"({"version": 1, "program": "C:/a.exe", "arguments": []})",
        R"({"version": 1, "program": "bin/", "arguments": []})",
        R"({"version": 1, "program": "a.exe", "arguments": "x"})",
        R"({"version": 1, "program": "a.exe", "arguments": [1]})",
        R"({"version": 1, "program": "a.exe", "arguments": ["a\u0000b"]})",
        R"({"version": 1, "program": "a.exe"})"}) {
    writeFile(in(u"installer\\service.json"), text);
    EXPECT_EQ(setup.installServiceHost(current(), current(), true), Result::packageRefused) << text;
  }
  EXPECT_EQ(serviceState(), std::nullopt);
}

TEST_F(SetupTest, RelativeTargetIsRefused) {
  ship("1.0");
  ASSERT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  EXPECT_EQ(setup.installServiceHost(current(), u"sys", true), Result::filesNotWritten);
  EXPECT_EQ(serviceState(), std::nullopt);
}

/// Fails one of the machine's operations while version 2 is installed over version 1.
class FailingUpgrade : public SetupTest {
 protected:
  Result upgradeFailing(std::string const& operation, std::u16string_view subject = {}) {
    ship("1.0");
    EXPECT_EQ(installShipped(), Result::success);
    ship("2.0");
    EXPECT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
    tests::FaultyMachine faulty(machine());
    bool failed = false;  // once: taking back is to work
    faulty.faults().failWhen(
        [&](std::string_view name, std::u16string_view of) {
          bool const fails = !failed && name == operation && of.ends_with(subject);
          failed = failed || fails;
          return fails;
        },
        ErrorCode::accessDenied);
    machine::ScopedMachine const scope(faulty);
    return setup.installServiceHost(current(), current(), true);
  }
  void expectVersion1Runs() {
    EXPECT_EQ(installedVersion(), "1.0\n");
    EXPECT_EQ(serviceState(), ServiceState::running);
    EXPECT_EQ(entries(currentRoot()),
              (Names{u"installer", u"packages", u"servicehost", u"zci.zip"}));
  }
};

TEST_F(FailingUpgrade, ServiceThatDoesNotStopStays) {
  EXPECT_EQ(upgradeFailing("Services::stop"), Result::serviceNotStopped);
  expectVersion1Runs();
}

TEST_F(FailingUpgrade, FilesThatCannotBeMovedStay) {
  EXPECT_EQ(upgradeFailing("rename", u"servicehost"), Result::filesNotWritten);
  expectVersion1Runs();
}

TEST_F(FailingUpgrade, NewFilesThatCannotBeMovedGiveWayToTheOld) {
  EXPECT_EQ(upgradeFailing("rename", u"servicehost.new"), Result::filesNotWritten);
  expectVersion1Runs();
}

TEST_F(FailingUpgrade, ServiceThatIsNotRegisteredGivesWayToTheOld) {
  EXPECT_EQ(upgradeFailing("Services::set"), Result::serviceNotRegistered);
  expectVersion1Runs();
}

TEST_F(FailingUpgrade, ServiceThatDoesNotStartGivesWayToTheOld) {
  EXPECT_EQ(upgradeFailing("Services::start"), Result::serviceNotStarted);
  expectVersion1Runs();
}

TEST_F(FailingUpgrade, FullDiskLeavesTheOld) {
  EXPECT_EQ(upgradeFailing("FileWriter::write"), Result::filesNotWritten);
  expectVersion1Runs();
}

TEST_F(SetupTest, OldFilesThatCannotBeRemovedAreTold) {
  ship("1.0");
  ASSERT_EQ(installShipped(), Result::success);
  ship("2.0");
  ASSERT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view name, std::u16string_view of) {
        return name == "removeDirectory" && of.ends_with(u"servicehost.old");
      },
      ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  tests::TroubleCapture const trouble;
  EXPECT_EQ(setup.installServiceHost(current(), current(), true), Result::success);
  ASSERT_EQ(trouble.reports().size(), 1u);
  EXPECT_EQ(trouble.reports()[0].severity, install::cpputil::trouble::severity::warning);
  EXPECT_EQ(trouble.reports()[0].subject, in(u"servicehost.old"));
  EXPECT_TRUE(trouble.reports()[0].text.starts_with(u"Brantix Service Host setup: " +
                                                    in(u"servicehost.old") + u" was left: "));
}

TEST_F(SetupTest, FirstInstallationThatFailsLeavesNoService) {
  ship("1.0");
  ASSERT_EQ(setup.unpackInstaller(current(), u"zci.zip"), Result::success);
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view name, std::u16string_view) { return name == "Services::start"; },
      ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(setup.installServiceHost(current(), current(), true), Result::serviceNotStarted);
  EXPECT_EQ(serviceState(), std::nullopt);
  EXPECT_FALSE(exists(in(u"servicehost")));
}

// ---- Versions

TEST_F(SetupTest, TellsWhetherTheShippedPackageIsTheLatest) {
  std::string shipped, latest;
  ship("1.10");
  publish("1.9");
  EXPECT_TRUE(setup.queryVersions(root(), shipped, latest));
  EXPECT_EQ(shipped, "1.10");
  EXPECT_EQ(latest, "1.9");
  publish("1.10.0.0");
  EXPECT_TRUE(setup.queryVersions(root(), shipped, latest));
  publish("1.11");
  EXPECT_FALSE(setup.queryVersions(root(), shipped, latest));
  EXPECT_EQ(latest, "1.11");
}

TEST_F(SetupTest, WithoutAShippedPackageAnyPublishedOneIsNewer) {
  std::string shipped = "x", latest;
  publish("0.1");
  EXPECT_FALSE(setup.queryVersions(root(), shipped, latest));
  EXPECT_EQ(shipped, "");
  writeFile(in(u"packages\\win64\\brantixservicehost.zip"), tests::zipOf({{"version.txt", "new"}}));
  EXPECT_FALSE(setup.queryVersions(root(), shipped, latest));
  EXPECT_EQ(shipped, "");
}

TEST_F(SetupTest, QueryThrowsWhenThereIsNoVersionDocument) {
  std::string shipped, latest;
  ship("1.0");
  EXPECT_THROW(setup.queryVersions(root(), shipped, latest), std::exception) << "no address";
  publish("2.0");
  downloads.files.clear();
  EXPECT_THROW(setup.queryVersions(root(), shipped, latest), std::exception) << "status 404";
  for (std::string const text : {"", "<html>", "{}", "[]", "null", R"({"version": 1})",
                                 R"({"version": 1, "serviceHostVersion": 2})"}) {
    downloads.files[u"https://host.example/latest.json"] = text;
    EXPECT_THROW(setup.queryVersions(root(), shipped, latest), std::exception) << text;
  }
}

TEST_F(SetupTest, QuerySaysWhatIsWrongWithTheVersionDocument) {
  std::string shipped, latest;
  auto const reason = [&]() -> std::string {
    try {
      setup.queryVersions(root(), shipped, latest);
      return "";
    } catch (std::exception const& failure) {
      return failure.what();
    }
  };
  std::string const url = "https://host.example/latest.json";
  ship("1.0");
  publish("2.0");
  downloads.files.clear();
  EXPECT_EQ(reason(), "the server answers with status 404 for " + url);
  downloads.missing = 302;
  EXPECT_EQ(reason(),
            "the server answers with status 302, a redirection that is not followed, for " + url);
  downloads.files[machine::toUtf16(url)] = "<html>";
  EXPECT_TRUE(reason().starts_with(url + ":1:1: not JSON: ")) << reason();
  downloads.files[machine::toUtf16(url)] = R"({"version": 1})";
  EXPECT_EQ(reason(), url + ": \"serviceHostVersion\" is missing or not what it should be");
  writeFile(in(u"service-host-source.json"), "");
  EXPECT_TRUE(
      reason().starts_with(machine::toUtf8(in(u"service-host-source.json")) + ":1:1: not JSON: "))
      << reason();
}

TEST_F(SetupTest, AVersionDocumentMayTakeSecondsAndAPackageLonger) {
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  auto const& document = downloads.limits[u"https://host.example/latest.json"];
  EXPECT_LE(document.idleTimeout, std::chrono::seconds(10));
  EXPECT_LE(document.totalTimeout, std::chrono::seconds(30));
  EXPECT_LE(document.size, 64u << 10);
  for (auto const* package : {u"https://host.example/i.zip", u"https://host.example/p.zip"}) {
    EXPECT_EQ(downloads.limits[package].totalTimeout, std::chrono::minutes(30));
  }
}

TEST_F(SetupTest, RegistryGoesBeforeTheInstallationsOwnAddress) {
  std::string shipped, latest;
  ship("1.0");
  publish("2.0");
  machine().registry().setText(sourceKey, u"LatestVersionUrl", u"https://mirror.example/l.json");
  downloads.files[u"https://mirror.example/l.json"] =
      downloads.files[u"https://host.example/latest.json"];
  downloads.asked.clear();
  EXPECT_FALSE(setup.queryVersions(root(), shipped, latest));
  EXPECT_EQ(downloads.asked, Names{u"https://mirror.example/l.json"});
}

TEST_F(SetupTest, AddressThatIsNotTrustedIsNotAsked) {
  std::string shipped, latest;
  ship("1.0");
  machine().registry().setText(sourceKey, u"LatestVersionUrl", u"http://host.example/l.json");
  EXPECT_THROW(setup.queryVersions(root(), shipped, latest), std::exception);
  EXPECT_TRUE(downloads.asked.empty());
}

TEST_F(SetupTest, HugeVersionDocumentIsRefused) {
  std::string shipped, latest;
  ship("1.0");
  publish("2.0");
  downloads.files[u"https://host.example/latest.json"] += std::string(100000, ' ');
  EXPECT_THROW(setup.queryVersions(root(), shipped, latest), std::exception);
}

// ---- Downloads

TEST_F(SetupTest, DownloadsBothPackagesToTheTemporaryFolder) {
  publish("2.0");
  EXPECT_EQ(downloadLatest(), Result::success);
  EXPECT_EQ(readFile(temporary(u"zci.zip")), installerPackage());
  EXPECT_EQ(readFile(temporary(u"packages\\win64\\brantixservicehost.zip")), hostPackage("2.0"));
  EXPECT_EQ(entries(temporaryRoot().ustring()), (Names{u"packages", u"zci.zip"}));
  EXPECT_EQ(entries(temporary(u"packages\\win64")), Names{u"brantixservicehost.zip"});
}

TEST_F(SetupTest, InstallsWhatWasDownloaded) {
  ship("1.0");
  publish("2.0");
  ASSERT_EQ(installShipped(), Result::success);
  EXPECT_EQ(installLatest(), Result::success);
  EXPECT_EQ(installedVersion(), "2.0\n");
  EXPECT_EQ(serviceState(), ServiceState::running);
}

TEST_F(SetupTest, DownloadStartsWithAnEmptyTemporaryFolder) {
  publish("2.0");
  writeFile(temporary(u"a.zip"), "an old one");
  ASSERT_EQ(downloadLatest(), Result::success);
  EXPECT_FALSE(exists(temporary(u"a.zip")));
}

TEST_F(SetupTest, PackageIsTheOneAnnouncedWithTheInstaller) {
  publish("2.0");
  ASSERT_EQ(setup.downloadLatestInstaller(root()), Result::success);
  downloads.files[u"https://host.example/latest.json"] = "{}";
  EXPECT_EQ(setup.downloadLatestPackage(root()), Result::success);
}

TEST_F(SetupTest, PackageNeedsTheInstallersAnnouncement) {
  publish("2.0");
  EXPECT_EQ(setup.downloadLatestPackage(root()), Result::versionUnavailable);
}

TEST_F(SetupTest, WithoutAVersionDocumentNothingIsDownloaded) {
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::versionUnavailable);
  EXPECT_FALSE(exists(temporaryRoot().ustring()));
}

TEST_F(SetupTest, ServerWithoutTheFileIsAFailedDownload) {
  publish("2.0");
  downloads.files.erase(u"https://host.example/i.zip");
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::downloadFailed);
  EXPECT_EQ(entries(temporaryRoot().ustring()), Names{});
}

TEST_F(SetupTest, ConnectionThatBreaksLeavesNothingOfTheFile) {
  publish("2.0");
  downloads.inTheMiddle = [](machine::UString const& url) {
    if (url.ends_with(u"i.zip")) throw machine::SystemError("download", url, ErrorCode::timeout);
  };
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::downloadFailed);
  EXPECT_EQ(entries(temporaryRoot().ustring()), Names{});
}

TEST_F(SetupTest, FileOfAnotherSizeOrHashIsRefused) {
  publish("2.0");
  std::string const sound = downloads.files[u"https://host.example/i.zip"];
  std::string changed = sound;
  changed[changed.size() / 2] ^= 1;
  for (std::string const& other : {sound + "x", sound.substr(1), std::string(), changed}) {
    downloads.files[u"https://host.example/i.zip"] = other;
    EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::downloadRefused);
    EXPECT_EQ(entries(temporaryRoot().ustring()), Names{});
  }
}

TEST_F(SetupTest, DiskThatIsFullLeavesNothingOfTheFile) {
  publish("2.0");
  tests::FaultyMachine faulty(machine::current());
  faulty.faults().failWhen(
      [](std::string_view name, std::u16string_view of) {
        return name == "FileWriter::write" && of.ends_with(u"zci.zip.part");
      },
      ErrorCode::diskFull);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::filesNotWritten);
  EXPECT_EQ(entries(temporaryRoot().ustring()), Names{});
}

TEST_F(SetupTest, DownloadedPackageOfAnotherVersionIsRefused) {
  ship("1.0");
  ASSERT_EQ(installShipped(), Result::success);
  publish("2.0", hostPackage("0.9"));
  EXPECT_EQ(installLatest(), Result::packageRefused);
  EXPECT_EQ(installedVersion(), "1.0\n");
}

TEST_F(SetupTest, ShippedPackageNeedsNoAnnouncement) {
  ship("0.9");
  EXPECT_EQ(installShipped(), Result::success);
}

// ---- What was checked is what is used

/// Would have the service run another program.
std::string evilInstaller() {
  return tests::zipOf(
      {{"service.json", R"({"version": 1, "program": "evil.exe", "arguments": []})"}});
}

TEST_F(SetupTest, APackageSwappedAfterItsDownloadIsNotUsed) {
  ship("1.0");
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  writeFile(temporary(u"zci.zip"), evilInstaller());
  tests::TroubleCapture const trouble;
  EXPECT_EQ(setup.unpackInstaller(temporaryRoot(), u"zci.zip"), Result::downloadRefused);
  EXPECT_FALSE(exists(temporary(u"installer")));
  EXPECT_EQ(trouble.texts(), std::vector<std::string>{"Brantix Service Host setup: " +
                                                      machine::toUtf8(temporary(u"zci.zip")) +
                                                      " is not the file that was announced"});

  writeFile(temporary(u"zci.zip"), installerPackage());
  ASSERT_EQ(setup.unpackInstaller(temporaryRoot(), u"zci.zip"), Result::success);
  writeFile(temporary(u"packages\\win64\\brantixservicehost.zip"),
            tests::zipOf({{"version.txt", "2.0"}, {"bin/host.exe", "evil"}}));
  EXPECT_EQ(setup.installServiceHost(temporaryRoot(), current(), false), Result::downloadRefused);
  EXPECT_EQ(serviceState(), std::nullopt);
}

TEST_F(SetupTest, APackagePlantedBesideTheDownloadedOneIsNotUnpacked) {
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  writeFile(temporary(u"a.zip"), evilInstaller());
  EXPECT_EQ(setup.unpackInstaller(temporaryRoot(), u"a.zip"), Result::downloadRefused);
  EXPECT_FALSE(exists(temporary(u"installer")));
}

#if !defined(_WIN32)
/// Somebody who puts another file in the place of one as soon as it was read to its end. Windows
/// lets nobody replace a file that is open.
class Swapping final : public machine::ForwardingFiles {
 public:
  Swapping(Files& inner, machine::UString file, std::string content)
      : ForwardingFiles(inner), file_(std::move(file)), content_(std::move(content)) {}

  bool hasSwapped() const { return hasSwapped_; }

  std::unique_ptr<machine::FileReader> openForReading(std::u16string_view path) override {
    auto opened = inner().openForReading(path);
    if (!machine::equalIgnoringCase(path, file_)) return opened;
    return std::make_unique<Reader>(std::move(opened), *this);
  }

 private:
  class Reader final : public machine::FileReader {
   public:
    Reader(std::unique_ptr<FileReader> inner, Swapping& files)
        : inner_(std::move(inner)), files_(files) {}
    std::size_t read(std::span<char> buffer) override {
      auto const count = inner_->read(buffer);
      if (count == 0) files_.swap();
      return count;
    }
    void seek(std::uint64_t position) override { inner_->seek(position); }
    machine::ForeignAccess foreignAccess() override { return inner_->foreignAccess(); }

   private:
    std::unique_ptr<FileReader> inner_;
    Swapping& files_;
  };

  void swap() {
    if (std::exchange(hasSwapped_, true)) return;
    auto const other = file_ + u".evil";
    auto const writer = inner().openForWriting(other, machine::WriteMode::createNew);
    writer->write(content_);
    writer->close();
    inner().rename(other, file_, true);
  }

  machine::UString file_;
  std::string content_;
  bool hasSwapped_ = false;
};

TEST_F(SetupTest, APackageSwappedBetweenItsCheckAndItsUseIsUnpackedAsItWasChecked) {
  ship("1.0");
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  Swapping swapping(files(), temporary(u"zci.zip"), evilInstaller());
  tests::SubstitutedMachine attacked(machine::current());
  attacked.replace(swapping);
  machine::ScopedMachine const scope(attacked);
  ASSERT_EQ(setup.unpackInstaller(temporaryRoot(), u"zci.zip"), Result::success);
  ASSERT_TRUE(swapping.hasSwapped());
  EXPECT_EQ(readFile(temporary(u"zci.zip")), evilInstaller());
  EXPECT_NE(readFile(temporary(u"installer\\service.json")).find("bin/host.exe"),
            std::string::npos);
}

#endif

TEST_F(SetupTest, TheVersionThatWasDecidedByIsTheOneThatIsDownloaded) {
  std::string shipped, latest;
  ship("1.0");
  publish("2.0");
  EXPECT_FALSE(setup.queryVersions(root(), shipped, latest));
  std::string const package = downloads.files[u"https://host.example/p.zip"];
  publish("3.0");
  downloads.files[u"https://host.example/p.zip"] = package;
  EXPECT_EQ(installLatest(), Result::success);
  EXPECT_EQ(installedVersion(), "2.0\n");
  EXPECT_EQ(std::ranges::count(downloads.asked, u"https://host.example/latest.json"), 1);
}

TEST_F(SetupTest, AfterItsEndNothingIsAnnouncedAnyMore) {
  std::string shipped, latest;
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  EXPECT_FALSE(setup.queryVersions(root(), shipped, latest));
  setup.removeSource(temporaryRoot());
  EXPECT_EQ(setup.downloadLatestPackage(root()), Result::versionUnavailable);
  downloads.asked.clear();
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::success);
  EXPECT_EQ(downloads.asked.front(), u"https://host.example/latest.json") << "fetched anew";
}

TEST_F(SetupTest, ADownloadThatFailedAnnouncesNothing) {
  publish("2.0");
  ASSERT_EQ(setup.downloadLatestInstaller(root()), Result::success);
  downloads.files.erase(u"https://host.example/i.zip");
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::downloadFailed);
  EXPECT_EQ(setup.downloadLatestPackage(root()), Result::versionUnavailable);
}

#if !defined(_WIN32)
TEST_F(SetupTest, ADownloadIsNotWrittenThroughALinkInItsPlace) {
  publish("2.0");
  ASSERT_EQ(setup.downloadLatestInstaller(root()), Result::success);
  writeFile(at(u"of others"), "kept");
  makeDirectory(temporary(u"packages\\win64"));
  for (auto const* name : {u"brantixservicehost.zip", u"brantixservicehost.zip.part"}) {
    std::filesystem::create_symlink(hostPath(at(u"of others")),
                                    hostPath(temporary(u"packages\\win64\\") + name));
  }
  EXPECT_EQ(setup.downloadLatestPackage(root()), Result::success);
  EXPECT_EQ(readFile(at(u"of others")), "kept");
  EXPECT_EQ(readFile(temporary(u"packages\\win64\\brantixservicehost.zip")), hostPackage("2.0"));
}

/// Files that ordinary users could have written, in the place of the product's.
class OthersFiles : public SetupTest {
 protected:
  void letOthersWrite(machine::UString const& file) {
    std::filesystem::permissions(hostPath(file), std::filesystem::perms(0666));
  }
  void giveToNobody(machine::UString const& file) {
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(chown(hostPath(file).c_str(), nobody, nobody), 0);
  }
  /// What the step, which is to end with `result`, told.
  template <typename Step>
  std::string troubleOf(Result result, Step const& step) {
    tests::TroubleCapture const trouble;
    EXPECT_EQ(step(), result);
    return trouble.texts().empty() ? std::string() : trouble.texts().back();
  }
  Result unpack() { return setup.unpackInstaller(current(), u"zci.zip"); }
  Result install() { return setup.installServiceHost(current(), current(), true); }

  static constexpr std::u16string_view package = u"packages\\win64\\brantixservicehost.zip";
  std::string const head = "Brantix Service Host setup: ";
};

TEST_F(OthersFiles, AShippedPackageThatOthersMayWriteIsRefused) {
  ship("1.0");
  letOthersWrite(in(u"zci.zip"));
  EXPECT_EQ(troubleOf(Result::packageRefused, [&] { return unpack(); }),
            head + machine::toUtf8(in(u"zci.zip")) + " may be written by others");
  EXPECT_FALSE(exists(in(u"installer")));
  ship("1.0");
  std::filesystem::permissions(hostPath(in(u"zci.zip")), std::filesystem::perms(0644));
  ASSERT_EQ(unpack(), Result::success);
  letOthersWrite(in(package));
  EXPECT_EQ(troubleOf(Result::packageRefused, [&] { return install(); }),
            head + machine::toUtf8(in(package)) + " may be written by others");
  EXPECT_EQ(serviceState(), std::nullopt);
}

TEST_F(OthersFiles, ADownloadedPackageThatOthersMayWriteIsRefusedThoughItsHashIsRight) {
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  letOthersWrite(temporary(u"zci.zip"));
  EXPECT_EQ(setup.unpackInstaller(temporaryRoot(), u"zci.zip"), Result::packageRefused);
  EXPECT_FALSE(exists(temporary(u"installer")));
}

TEST_F(OthersFiles, APackageOfSomebodyElseIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  ship("1.0");
  giveToNobody(in(u"zci.zip"));
  EXPECT_EQ(troubleOf(Result::packageRefused, [&] { return unpack(); }),
            head + machine::toUtf8(in(u"zci.zip")) + " belongs to nobody");
}

TEST_F(OthersFiles, ALinkToSomebodysPackageIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  ship("1.0");
  writeFile(at(u"evil.zip"), evilInstaller());
  giveToNobody(at(u"evil.zip"));
  files().removeFile(in(u"zci.zip"));
  std::filesystem::create_symlink(hostPath(at(u"evil.zip")), hostPath(in(u"zci.zip")));
  EXPECT_EQ(unpack(), Result::packageRefused);
  EXPECT_FALSE(exists(in(u"installer")));
}

TEST_F(OthersFiles, WhatToRunIsNotReadFromAFileThatOthersMayWrite) {
  ship("1.0");
  ASSERT_EQ(unpack(), Result::success);
  letOthersWrite(in(u"installer\\service.json"));
  EXPECT_EQ(troubleOf(Result::packageRefused, [&] { return install(); }),
            head + machine::toUtf8(in(u"installer\\service.json")) + " may be written by others");
  EXPECT_EQ(serviceState(), std::nullopt);
}

TEST_F(OthersFiles, WhereToDownloadFromIsNotReadFromAFileThatOthersMayWrite) {
  publish("2.0");
  letOthersWrite(in(u"service-host-source.json"));
  std::string shipped, latest;
  EXPECT_THROW(setup.queryVersions(root(), shipped, latest), std::runtime_error);
  EXPECT_EQ(setup.downloadLatestInstaller(root()), Result::versionUnavailable);
  EXPECT_TRUE(downloads.asked.empty());
}

TEST_F(SetupTest, ALinkInThePlaceOfADownloadedPackageIsNotFollowedToAnother) {
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  writeFile(at(u"evil.zip"), evilInstaller());
  files().removeFile(temporary(u"zci.zip"));
  std::filesystem::create_symlink(hostPath(at(u"evil.zip")), hostPath(temporary(u"zci.zip")));
  EXPECT_EQ(setup.unpackInstaller(temporaryRoot(), u"zci.zip"), Result::downloadRefused);
  EXPECT_FALSE(exists(temporary(u"installer")));
}
#endif

// ---- Removing

TEST_F(SetupTest, RemovesTheSourceWithAllInIt) {
  publish("2.0");
  ASSERT_EQ(downloadLatest(), Result::success);
  setup.removeSource(temporaryRoot());
  EXPECT_FALSE(exists(temporaryRoot().ustring()));
  EXPECT_TRUE(exists(currentRoot()));
}

TEST_F(SetupTest, RemovingWhatIsNotThereDoesNothing) {
  tests::LogCapture const log;
  setup.removeSource(temporaryRoot());
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(SetupTest, RemovingTheRootOfADriveIsRefused) {
  tests::LogCapture const log;
  setup.removeSource(u"C:\\");
  setup.removeSource(u"");
  EXPECT_EQ(log.messages().size(), 2u);
}

}  // namespace
}  // namespace desktopservicesetup
