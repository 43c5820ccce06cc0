#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "fl/filesystem/operations.hpp"
#include "foundation/cppmicroservices/framework.hpp"
#include "registration/commands/BrantixServiceHostSetupCommand.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/substituted_machine.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using install::desktopservicesetup::DesktopServiceSetupUtility;
using Result = install::desktopservicesetup::DesktopServiceSetupResult;
using Lines = std::vector<UString>;

/// A setup service that writes down what it is asked, and answers as told.
class FakeSetup : public DesktopServiceSetupUtility {
 public:
  Lines calls;
  bool shippedIsLatest = false;
  /// What each operation does before it answers, by its name.
  std::map<std::string, std::function<void()>> actions;
  std::map<std::string, Result> results;

  Result unpackInstaller(Path const& folder, UString const& name) override {
    return called("unpackInstaller", folder.ustring() + u", " + name);
  }
  Result installServiceHost(Path const& source, Path const& target, bool isShipped) override {
    return called(isShipped ? "installShipped" : "installLatest",
                  source.ustring() + u", " + target.ustring());
  }
  void removeSource(Path const& folder) override { called("removeSource", folder.ustring()); }
  Result downloadLatestInstaller(Path const& root) override {
    return called("downloadLatestInstaller", root.ustring());
  }
  Result downloadLatestPackage(Path const& root) override {
    return called("downloadLatestPackage", root.ustring());
  }
  bool queryVersions(Path const& root, std::string& shipped, std::string& latest) override {
    called("queryVersions", root.ustring());
    shipped = "1.0";
    latest = "2.0";
    return shippedIsLatest;
  }

 private:
  Result called(std::string const& name, UString const& arguments) {
    calls.push_back(fl::i18n::to_ustring(name) + u"(" + arguments + u")");
    if (auto const action = actions.find(name); action != actions.end()) action->second();
    auto const result = results.find(name);
    return result == results.end() ? Result::success : result->second;
  }
};

class ServiceHostSetup : public tests::CommandTest {
 protected:
  static constexpr char16_t const* variable = u"BRANTIX_VORTAN_FEATURE_DownloadLatestBsh";

  ServiceHostSetup() { setFeature(u"0"); }
  ~ServiceHostSetup() override { machine().environment().removeVariable(variable); }

  void setFeature(UString const& value) { machine().environment().setVariable(variable, value); }

  /// The command with its service replaced.
  class Command : public BrantixServiceHostSetupCommand {
   public:
    Command(utility::Options const& given, std::shared_ptr<DesktopServiceSetupUtility> service)
        : BrantixServiceHostSetupCommand(given), service_(std::move(service)) {}

    std::function<void()> atStart = [] {};
    std::function<void()> atRemoval = [] {};
    int mutable starts = 0;

   protected:
    void startService() const override {
      ++starts;
      atStart();
    }
    std::shared_ptr<DesktopServiceSetupUtility> getServicePointer() const override {
      return service_;
    }
    void removeBrantixServiceHostSource(std::shared_ptr<DesktopServiceSetupUtility> service,
                                        Path const& folder) const override {
      atRemoval();
      BrantixServiceHostSetupCommand::removeBrantixServiceHostSource(service, folder);
    }

   private:
    std::shared_ptr<DesktopServiceSetupUtility> service_;
  };

  utility::Options options(bool requested = true) const {
    utility::Options::Values values;
    values.serviceHostRequested = requested;
    values.rootPath = root().ustring();
    return utility::Options(values);
  }
  Lines execute() {
    tests::LogCapture const capture;
    Command(options(), setup).execute();
    return capture.messages();
  }

  Path current() const { return root() / u"sys" / u"bxds" / u"win64"; }
  Path temporary() const { return current() / u"_tempinstaller_win64"; }
  UString call(UString const& name, Path const& path, UString const& rest = {}) const {
    return name + u"(" + path.ustring() + rest + u")";
  }
  Lines shippedCalls() const {
    return {call(u"unpackInstaller", current(), u", zci.zip"),
            call(u"installShipped", current(), u", " + current().ustring()),
            call(u"removeSource", temporary())};
  }
  Lines latestCalls() const {
    return {call(u"queryVersions", root()),
            call(u"downloadLatestInstaller", root()),
            call(u"unpackInstaller", temporary(), u", i.zip"),
            call(u"downloadLatestPackage", root()),
            call(u"installLatest", temporary(), u", " + current().ustring()),
            call(u"removeSource", temporary())};
  }
  /// Has the setup "download" packages.
  void publish() {
    setFeature(u"1");
    setup->actions["downloadLatestInstaller"] = [this] { writeFile(temporary() / u"i.zip", "i2"); };
    setup->actions["downloadLatestPackage"] = [this] {
      writeFile(temporary() / u"packages" / u"win64" / u"p.zip", "p2");
    };
  }
  void ship() {
    writeFile(shippedInstaller(), "i1");
    writeFile(shippedPackage(), "p1");
  }
  Path shippedInstaller() const { return current() / u"zci.zip"; }
  Path shippedPackage() const {
    return current() / u"packages" / u"win64" / u"brantixservicehost.zip";
  }

  std::shared_ptr<FakeSetup> const setup = std::make_shared<FakeSetup>();

  Lines const installingShipped{u"Installing Brantix Service Host",
                                u"Completed installing Brantix Service Host from shipped packages"};
  Lines const versionLines{u"The shipped Brantix Service Host package is not latest version",
                           u"Shipped Brantix Service Host version: 1.0",
                           u"Latest Brantix Service Host version: 2.0"};
  Lines const downloadLines{
      u"Downloading the latest version of Brantix Service Host Installer",
      u"Completed downloading the latest version of Brantix Service Host Installer",
      u"Downloading the latest version of Brantix Service Host",
      u"Completed downloading the latest version of Brantix Service Host",
      u"Completed installing the latest version of Brantix Service Host"};
  UString const notConnected =
      u"Failed to connect to Brantix Service Host latest version web service";
};

Lines joined(std::initializer_list<Lines> parts) {
  Lines all;
  for (auto const& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(ServiceHostSetup, NotRequestedNeitherStartsTheBundleNorLogs) {
  tests::LogCapture const capture;
  Command const command(options(false), setup);
  command.execute();
  EXPECT_EQ(command.starts, 0);
  EXPECT_TRUE(setup->calls.empty());
  EXPECT_TRUE(capture.messages().empty());
}

TEST_F(ServiceHostSetup, UndoDoesNothing) {
  tests::LogCapture const capture;
  Command const command(options(), setup);
  command.undo();
  EXPECT_EQ(command.starts, 0);
  EXPECT_TRUE(setup->calls.empty());
  EXPECT_TRUE(capture.messages().empty());
}

TEST_F(ServiceHostSetup, FeatureOffInstallsTheShippedPackagesDirectly) {
  EXPECT_EQ(execute(), installingShipped);
  EXPECT_EQ(setup->calls, shippedCalls());
}

TEST_F(ServiceHostSetup, SkippedSystemIntegrationIsNotAsked) {
  utility::Options::Values values;
  values.serviceHostRequested = values.systemIntegrationSkipped = true;
  values.rootPath = root().ustring();
  Command(utility::Options(values), setup).execute();
  EXPECT_EQ(setup->calls, shippedCalls());
}

TEST_F(ServiceHostSetup, ShippedPackageThatIsTheLatestIsInstalledWithoutVersionLines) {
  setFeature(u"1");
  setup->shippedIsLatest = true;
  EXPECT_EQ(execute(), installingShipped);
  EXPECT_EQ(setup->calls, joined({{call(u"queryVersions", root())}, shippedCalls()}));
}

TEST_F(ServiceHostSetup, NewerVersionIsDownloadedInstalledAndReplacesTheShippedOne) {
  ship();
  publish();
  EXPECT_EQ(execute(), joined({{u"Installing Brantix Service Host"}, versionLines, downloadLines}));
  EXPECT_EQ(setup->calls, latestCalls());
  EXPECT_EQ(readFile(shippedInstaller()), "i2");
  EXPECT_EQ(readFile(shippedPackage()), "p2");
}

TEST_F(ServiceHostSetup, EachFailingStepOfTheLatestFallsBackToTheShippedPackages) {
  struct Case {
    char const* operation;
    std::size_t downloadLines;
    std::size_t latestCalls;
  };
  for (Case const& at : {Case{"downloadLatestInstaller", 1, 2}, Case{"downloadLatestPackage", 3, 4},
                         Case{"installLatest", 4, 5}}) {
    ship();
    publish();
    setup->calls.clear();
    setup->results = {{at.operation, Result::downloadFailed}};
    auto const lines = downloadLines;
    EXPECT_EQ(execute(),
              joined({{u"Installing Brantix Service Host"},
                      versionLines,
                      Lines(lines.begin(), lines.begin() + static_cast<long>(at.downloadLines)),
                      {installingShipped.back()}}))
        << at.operation;
    auto const calls = latestCalls();
    EXPECT_EQ(setup->calls,
              joined({Lines(calls.begin(), calls.begin() + static_cast<long>(at.latestCalls)),
                      shippedCalls()}))
        << at.operation;
    EXPECT_EQ(readFile(shippedInstaller()), "i1") << at.operation;
    EXPECT_EQ(readFile(shippedPackage()), "p1") << at.operation;
  }
}

TEST_F(ServiceHostSetup, InstallerThatCannotBeUnpackedFallsBackAndEndsInTheErrorCode) {
  publish();
  setup->results = {{"unpackInstaller", Result::packageRefused}};
  auto const log = execute();
  EXPECT_EQ(log.back(), u"Failed to install Brantix Service Host with error code: 2");
  EXPECT_EQ(setup->calls,
            (Lines{call(u"queryVersions", root()), call(u"downloadLatestInstaller", root()),
                   call(u"unpackInstaller", temporary(), u", i.zip"),
                   call(u"unpackInstaller", current(), u", zci.zip"),
                   call(u"removeSource", temporary())}));
}

TEST_F(ServiceHostSetup, ExceptionOfTheLatestIsLoggedAndFallsBack) {
  publish();
  setup->actions["installLatest"] = [] { throw std::runtime_error("x\xE2\x82\xAC"); };
  auto const lines = downloadLines;
  EXPECT_EQ(execute(),
            joined({{u"Installing Brantix Service Host"},
                    versionLines,
                    Lines(lines.begin(), lines.begin() + 4),
                    {u"Failed to download and install the latest version of Brantix Service Host "
                     u"with exception: x\u20AC"},
                    {installingShipped.back()}}));
  EXPECT_EQ(setup->calls.back(), call(u"removeSource", temporary()));
}

TEST_F(ServiceHostSetup, ForeignExceptionOfTheLatestFallsBackToo) {
  publish();
  setup->actions["downloadLatestInstaller"] = [] { throw 42; };
  EXPECT_EQ(execute(), joined({{u"Installing Brantix Service Host"},
                               versionLines,
                               {downloadLines.front(), notConnected, installingShipped.back()}}));
}

TEST_F(ServiceHostSetup, FailingVersionQueryFallsBackWhateverItThrows) {
  setFeature(u"1");
  for (std::function<void()> const& thrown :
       {std::function<void()>([] { throw std::runtime_error("x"); }),
        std::function<void()>([] { throw 42; })}) {
    setup->calls.clear();
    setup->actions["queryVersions"] = thrown;
    EXPECT_EQ(execute(),
              (Lines{installingShipped.front(), notConnected, installingShipped.back()}));
    EXPECT_EQ(setup->calls, joined({{call(u"queryVersions", root())}, shippedCalls()}));
  }
}

TEST_F(ServiceHostSetup, FeatureThatCannotBeReadFallsBack) {
  setFeature(u"perhaps");
  EXPECT_EQ(execute(), (Lines{installingShipped.front(), notConnected, installingShipped.back()}));
  EXPECT_EQ(setup->calls, shippedCalls());
}

TEST_F(ServiceHostSetup, LatestVersionThatCannotBeHadIsTroubleWithItsCause) {
  setFeature(u"perhaps");
  struct Case {
    std::function<void()> query;
    std::string cause;
  };
  std::string const connecting =
      "Failed to connect to Brantix Service Host latest version web service: ";
  auto const texts = [this] {
    tests::TroubleCapture const trouble;
    execute();
    for (auto const& told : trouble.reports()) EXPECT_EQ(told.logged_lines, 1u);
    return trouble.texts();
  };
  EXPECT_EQ(texts(),
            std::vector<std::string>{
                connecting + "the environment variable BRANTIX_VORTAN_FEATURE_DownloadLatestBsh is "
                             "\"perhaps\", which is no number"});
  setFeature(u"1");
  for (Case const& at : {Case{[] { throw std::runtime_error("status 404"); }, "status 404"},
                         Case{[] { throw 42; }, "an exception that is no std::exception"}}) {
    setup->actions["queryVersions"] = at.query;
    EXPECT_EQ(texts(), std::vector<std::string>{connecting + at.cause});
  }
}

TEST_F(ServiceHostSetup, ShippedPackagesInstalledForWantOfTheLatestAreTrouble) {
  publish();
  setup->results = {{"downloadLatestPackage", Result::downloadFailed}};
  tests::TroubleCapture const trouble;
  EXPECT_EQ(execute().back(), installingShipped.back());
  ASSERT_EQ(trouble.reports().size(), 1u);
  EXPECT_EQ(trouble.reports()[0].severity, install::cpputil::trouble::severity::warning);
  EXPECT_EQ(trouble.reports()[0].logged_lines, 0u);
  EXPECT_EQ(trouble.texts()[0],
            "the latest version of Brantix Service Host was not installed, but the shipped one: "
            "downloading its package ended with error code 4");
}

TEST_F(ServiceHostSetup, EveryFailureLineIsTrouble) {
  auto const expectTold = [this](auto const& prepare, std::size_t count) {
    setup->actions.clear();
    setup->results.clear();
    prepare();
    tests::LogCapture const log;
    tests::TroubleCapture const trouble;
    Command(options(), setup).execute();
    Lines failures;
    for (auto const& line : log.messages()) {
      if (line.starts_with(u"Failed to ")) failures.push_back(line);
    }
    EXPECT_EQ(failures.size(), count);
    ASSERT_EQ(trouble.reports().size(), count);
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_TRUE(trouble.reports()[i].text.starts_with(failures[i]));
      EXPECT_EQ(trouble.reports()[i].logged_lines, 1u);
      EXPECT_EQ(trouble.reports()[i].severity, install::cpputil::trouble::severity::error);
    }
  };
  expectTold([this] { setup->results = {{"installShipped", Result::failed}}; }, 1);
  expectTold([this] { setup->actions["unpackInstaller"] = [] { throw std::runtime_error("x"); }; },
             2);
  expectTold([this] { setup->actions["removeSource"] = [] { throw std::runtime_error("x"); }; }, 1);
  expectTold(
      [this] {
        publish();
        setup->actions["installLatest"] = [] { throw std::runtime_error("x"); };
      },
      1);
}

TEST_F(ServiceHostSetup, NotRequestedIsNothingToDoAndSaysWhichOptionDecided) {
  tests::TroubleCapture const trouble;
  Command(options(false), setup).execute();
  ASSERT_EQ(trouble.reports().size(), 1u);
  EXPECT_EQ(trouble.reports()[0].severity, install::cpputil::trouble::severity::skipped);
  EXPECT_EQ(trouble.reports()[0].subject, u"isServiceHostRequested");
}

TEST_F(ServiceHostSetup, FailedShippedInstallationIsLoggedWithItsCode) {
  setup->results = {{"installShipped", Result::serviceNotStarted}};
  EXPECT_EQ(execute(), (Lines{u"Installing Brantix Service Host",
                              u"Failed to install Brantix Service Host with error code: 11"}));
  EXPECT_EQ(setup->calls, shippedCalls());
}

TEST_F(ServiceHostSetup, NegativeCodeIsLoggedAsSignedDecimal) {
  setup->results = {{"installShipped", static_cast<Result>(-3)}};
  EXPECT_EQ(execute().back(), u"Failed to install Brantix Service Host with error code: -3");
}

TEST_F(ServiceHostSetup, ShippedInstallerThatCannotBeUnpackedIsNotInstalled) {
  setup->results = {{"unpackInstaller", Result::packageMissing}};
  EXPECT_EQ(execute().back(), u"Failed to install Brantix Service Host with error code: 1");
  EXPECT_EQ(setup->calls, (Lines{shippedCalls().front(), shippedCalls().back()}));
}

TEST_F(ServiceHostSetup, ExceptionOfTheShippedInstallationIsCode6) {
  for (char const* operation : {"unpackInstaller", "installShipped"}) {
    setup->calls.clear();
    setup->actions = {{operation, [] { throw std::runtime_error("x"); }}};
    EXPECT_EQ(execute(),
              (Lines{u"Installing Brantix Service Host",
                     u"Failed to install the Brantix Service Host from shipped packages with "
                     u"exception: x",
                     u"Failed to install Brantix Service Host with error code: 6"}))
        << operation;
    EXPECT_EQ(setup->calls.back(), call(u"removeSource", temporary())) << operation;
  }
}

TEST_F(ServiceHostSetup, ForeignExceptionOfTheShippedInstallationReachesTheInstaller) {
  setup->actions["installShipped"] = [] { throw 42; };
  EXPECT_THROW(Command(options(), setup).execute(), int);
}

TEST_F(ServiceHostSetup, ExceptionOfTheRemovalIsLogged) {
  tests::LogCapture const capture;
  Command command(options(), setup);
  command.atRemoval = [] { throw std::runtime_error("x"); };
  command.execute();
  EXPECT_EQ(
      capture.messages(),
      joined({installingShipped, {u"Failed to install Brantix Service Host with exception: x"}}));
}

TEST_F(ServiceHostSetup, ExceptionWhileObtainingTheServiceEndsTheCall) {
  tests::LogCapture const capture;
  Command command(options(), setup);
  command.atStart = [] { throw std::runtime_error("x\xE2\x82\xAC"); };
  command.execute();
  EXPECT_EQ(capture.messages(),
            Lines{u"Failed to get Brantix Service Host utility service pointer: x\u20AC"});
  EXPECT_TRUE(setup->calls.empty());
}

TEST_F(ServiceHostSetup, ForeignExceptionWhileObtainingTheServiceReachesTheInstaller) {
  Command command(options(), setup);
  command.atStart = [] { throw 42; };
  EXPECT_THROW(command.execute(), int);
}

TEST_F(ServiceHostSetup, EmptyServicePointerIsAFailureAndNoCrash) {
  tests::LogCapture const capture;
  Command(options(), nullptr).execute();
  ASSERT_EQ(capture.messages().size(), 1u);
  EXPECT_TRUE(capture.messages()[0].starts_with(
      u"Failed to get Brantix Service Host utility service pointer: "));
}

TEST_F(ServiceHostSetup, TheFirstZipInTheFolderIsTakenWhateverElseIsThere) {
  publish();
  setup->actions["downloadLatestInstaller"] = [this] {
    for (auto const* name : {u"A.ZIP", u"a.zip.txt", u"b.zip", u"c.zip", u"azip"})
      writeFile(temporary() / name, "x");
    writeFile(temporary() / u"0" / u"z.zip", "x");
  };
  execute();
  ASSERT_GT(setup->calls.size(), 2u);
  EXPECT_EQ(setup->calls[2], call(u"unpackInstaller", temporary(), u", b.zip"));
}

TEST_F(ServiceHostSetup, ZipInCapitalsIsNotFound) {
  ship();
  publish();
  setup->actions["downloadLatestInstaller"] = [this] { writeFile(temporary() / u"B.ZIP", "x"); };
  execute();
  ASSERT_GT(setup->calls.size(), 2u);
  EXPECT_EQ(setup->calls[2], call(u"unpackInstaller", temporary(), u", "));
  EXPECT_EQ(readFile(shippedInstaller()), "i1") << "without a package found, the folder stays";
  EXPECT_TRUE(exists(temporary() / u"B.ZIP"));
}

TEST_F(ServiceHostSetup, MissingTemporaryFolderHasNoZip) {
  setFeature(u"1");
  execute();
  ASSERT_GT(setup->calls.size(), 2u);
  EXPECT_EQ(setup->calls[2], call(u"unpackInstaller", temporary(), u", "));
}

TEST_F(ServiceHostSetup, FailedReplacementIsLoggedForEachFileAndLeavesTheShippedOnes) {
  ship();
  publish();
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "rename"; },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  UString const line =
      u"Failed to overwrite the shipped Brantix Service Host package with the latest downloaded "
      u"package";
  EXPECT_EQ(
      execute(),
      joined({{u"Installing Brantix Service Host"}, versionLines, downloadLines, {line, line}}));
  EXPECT_EQ(readFile(shippedInstaller()), "i1");
  EXPECT_EQ(readFile(shippedPackage()), "p1");
}

TEST_F(ServiceHostSetup, OneFailedReplacementDoesNotStopTheOther) {
  ship();
  publish();
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view from) {
        return operation == "rename" && from.ends_with(u"i.zip");
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  execute();
  EXPECT_EQ(readFile(shippedInstaller()), "i1");
  EXPECT_EQ(readFile(shippedPackage()), "p2");
}

TEST_F(ServiceHostSetup, CopiesAndMovedCommandsBehaveAsTheirSource) {
  Command source(options(), setup);
  Command const copy(source);
  Command const moved(std::move(source));
  copy.execute();
  EXPECT_EQ(setup->calls, shippedCalls());
  setup->calls.clear();
  moved.execute();
  EXPECT_EQ(setup->calls, shippedCalls());
}

TEST_F(ServiceHostSetup, MessagesGoThroughLogMessage) {
  struct Capturing : Command {
    using Command::Command;
    Lines mutable log;
    void log_message(UString const& message) const override { log.push_back(message); }
  };
  tests::LogCapture const capture;
  Capturing const command(options(), setup);
  command.execute();
  EXPECT_EQ(command.log, installingShipped);
  EXPECT_TRUE(capture.messages().empty());
}

/// The command's own way to its service.
class Exposed : public BrantixServiceHostSetupCommand {
 public:
  using BrantixServiceHostSetupCommand::BrantixServiceHostSetupCommand;
  using BrantixServiceHostSetupCommand::getServicePointer;
  using BrantixServiceHostSetupCommand::startService;
};

TEST_F(ServiceHostSetup, ServicePointerIsTheFrameworksFirstSuchService) {
  auto context = foundation::cppmicroservices::getFramework().GetBundleContext();
  auto const other = std::make_shared<FakeSetup>();
  auto first = context.RegisterService<DesktopServiceSetupUtility>(setup);
  auto second = context.RegisterService<DesktopServiceSetupUtility>(other);
  EXPECT_EQ(Exposed(options()).getServicePointer(), setup);
  first.Unregister();
  EXPECT_EQ(Exposed(options()).getServicePointer(), other);
  second.Unregister();
}

TEST_F(ServiceHostSetup, WithoutAServiceThereIsAStandardException) {
  EXPECT_THROW(Exposed(options()).getServicePointer(), std::runtime_error);
}

TEST_F(ServiceHostSetup, BundleFolderThatIsMissingIsAFailureOfTheServicePointer) {
  tests::LogCapture const capture;
  BrantixServiceHostSetupCommand(options()).execute();
  ASSERT_EQ(capture.messages().size(), 1u);
  EXPECT_TRUE(capture.messages()[0].starts_with(
      u"Failed to get Brantix Service Host utility service pointer: "));
  EXPECT_NE(capture.messages()[0].find(
                u"bin\\win64\\desktopservicesetup\\install\\desktopservicesetup\\implementation"),
            UString::npos);
}

}  // namespace
}  // namespace registration::commands
