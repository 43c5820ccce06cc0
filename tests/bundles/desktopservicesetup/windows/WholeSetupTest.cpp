#include <gtest/gtest.h>

#include <filesystem>

#include "registration/commands/BrantixServiceHostSetupCommand.hpp"
#include "tests/machine/windows/web_server.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/service_host.hpp"

namespace {

using machine::ServiceState;
using machine::UString;
using Lines = std::vector<UString>;

/// The command with the real bundle, framework, service control manager and web client. The bundle
/// has a machine of its own, the same computer, and so sees nothing that a test replaces.
class WholeServiceHostSetup : public tests::ServiceHostTest {
 protected:
  static constexpr char16_t const* variable = u"BRANTIX_VORTAN_FEATURE_DownloadLatestBsh";

  WholeServiceHostSetup() {
    auto const folder =
        at(u"bin\\win64\\desktopservicesetup\\install\\desktopservicesetup\\implementation");
    makeDirectory(folder);
    std::filesystem::path const bundle = SETUP_BUNDLE;
    bundle_ = std::filesystem::path(machine::toWide(folder)) / bundle.filename();
    std::filesystem::copy_file(bundle, bundle_);
    machine().environment().setVariable(variable, u"1");
  }
  ~WholeServiceHostSetup() override {
    machine().environment().removeVariable(variable);
    // A DLL that is loaded cannot be deleted, but it can be moved out of the test's folder.
    std::filesystem::rename(bundle_, std::filesystem::temp_directory_path() / "loaded_bundle.dll");
  }

  Lines execute() {
    registration::utility::Options::Values values;
    values.serviceHostRequested = true;
    values.rootPath = root();
    tests::LogCapture const log;
    registration::commands::BrantixServiceHostSetupCommand(registration::utility::Options(values))
        .execute();
    return log.messages();
  }

  void serve(std::string const& file, std::string const& content) {
    server.answer(file, tests::WebServer::whole(content));
  }
  std::string describeServed(std::string const& file, std::string const& content) const {
    return describe(machine::toUtf8(server.url(file)), content);
  }
  void publishFromServer(std::string const& version) {
    serve("i.zip", installerPackage());
    serve("p.zip", hostPackage(version));
    announce(version, describeServed("i.zip", installerPackage()),
             describeServed("p.zip", hostPackage(version)));
    serve("latest.json", downloads.files[u"https://host.example/latest.json"]);
    writeFile(in(u"service-host-source.json"), R"({"version": 1, "latestVersionUrl": ")" +
                                                   machine::toUtf8(server.url("latest.json")) +
                                                   "\"}");
  }

  tests::WebServer server;

 private:
  std::filesystem::path bundle_;
};

// One test, for a framework's bundle stays where it was first found.
TEST_F(WholeServiceHostSetup, InstallsTheShippedVersionThenALaterOneThenFallsBack) {
  ship("1.0");
  EXPECT_EQ(execute(),
            (Lines{u"Installing Brantix Service Host",
                   u"Failed to connect to Brantix Service Host latest version web service",
                   u"Completed installing Brantix Service Host from shipped packages"}));
  EXPECT_EQ(installedVersion(), "1.0\n");
  EXPECT_EQ(serviceState(), ServiceState::running);

  publishFromServer("2.0");
  EXPECT_EQ(execute(),
            (Lines{u"Installing Brantix Service Host",
                   u"The shipped Brantix Service Host package is not latest version",
                   u"Shipped Brantix Service Host version: 1.0",
                   u"Latest Brantix Service Host version: 2.0",
                   u"Downloading the latest version of Brantix Service Host Installer",
                   u"Completed downloading the latest version of Brantix Service Host Installer",
                   u"Downloading the latest version of Brantix Service Host",
                   u"Completed downloading the latest version of Brantix Service Host",
                   u"Completed installing the latest version of Brantix Service Host"}));
  EXPECT_EQ(installedVersion(), "2.0\n");
  EXPECT_EQ(serviceState(), ServiceState::running);
  EXPECT_EQ(readFile(in(u"packages\\win64\\brantixservicehost.zip")), hostPackage("2.0"));
  EXPECT_FALSE(exists(in(u"_tempinstaller_win64")));

  publishFromServer("3.0");
  serve("p.zip", hostPackage("2.9"));
  EXPECT_EQ(execute().back(), u"Completed installing Brantix Service Host from shipped packages");
  EXPECT_EQ(installedVersion(), "2.0\n");
  EXPECT_EQ(serviceState(), ServiceState::running);
  EXPECT_FALSE(exists(in(u"_tempinstaller_win64")));
}

}  // namespace
