// Whoever has an installer started in a folder of his leaves code there that it takes for the
// product's.
#include <gtest/gtest.h>

#include "fl/filesystem/operations.hpp"
#include "registration/commands/BrantixServiceHostSetupCommand.hpp"
#include "registration/commands/GenerateJavaClassPath.hpp"
#include "registration/commands/InstallDotNetAssemblyFiles.hpp"
#include "registration/commands/LaunchCppMicroServicesCacheExecutable.hpp"
#include "registration/commands/LaunchFyroSettingsExecutable.hpp"
#include "registration/commands/RegisterAutomationServer.hpp"
#include "registration/commands/RegisterDlls.hpp"
#include "registration/commands/StartServices.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

/// The current folder holds what commands look for; every flag is on and no root is given.
class RelativeCode : public tests::CommandTest {
 protected:
  RelativeCode() {
    for (auto const* file : {u"tool.exe", u"a.dll", u"C:\\Windows\\System32\\regsvr32.exe",
                             u"toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe"}) {
      Path const path(file);
      writeFile(fl::filesystem::is_absolute(path) ? path : root() / file, "RegisterOLEServer2");
    }
    registry().setValue({machine::RegistryRoot::localMachine,
                         u"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full"},
                        u"Install", machine::RegistryValue::ofDword(1));
    fl::filesystem::change_current_path(root());
  }
  ~RelativeCode() override { fl::filesystem::change_current_path(before_); }

  static utility::Options options() {
    utility::Options::Values values;
    values.usageDataSettingsRequested = true;
    values.scheduledServicesEnabled = true;
    values.serviceHostRequested = true;
    return utility::Options(values);
  }

  static void expectTold(utility::Command const& command, std::vector<UString> const& paths) {
    tests::LogCapture const log;
    tests::TroubleCapture const trouble;
    command.execute();
    std::vector<UString> told;
    for (auto const& report : trouble.reports()) {
      if (report.severity == tests::TroubleCapture::Severity::warning)
        told.push_back(report.subject);
    }
    EXPECT_EQ(told, paths);
    EXPECT_EQ(trouble.warnings(u" is not absolute: which code is loaded or run"), paths.size());
  }

 private:
  Path const before_ = fl::filesystem::get_current_path();
};

TEST_F(RelativeCode, OfProgramsIsTold) {
  expectTold(LaunchCppMicroServicesCacheExecutable(options(), u"tool.exe"), {u"tool.exe"});
  expectTold(LaunchFyroSettingsExecutable(options(), u".\\tool.exe"), {u".\\tool.exe"});
  expectTold(LaunchFyroSettingsExecutable(options(), root() / u"tool.exe"), {});
  expectTold(StartServices(options(), u"task", u"", u"tool.exe", u"", false), {u"tool.exe"});
}

TEST_F(RelativeCode, OfFilesThatProgramsLoadIsTold) {
  expectTold(RegisterDlls(options(), {Path(u"a.dll"), root() / u"a.dll"}), {u"a.dll"});
  expectTold(InstallDotNetAssemblyFiles(options(), {root() / u"a.dll"}),
             {u"toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe"});
}

TEST_F(RelativeCode, OfModulesIsTold) {
  expectTold(RegisterAutomationServer(options(), u"a.dll", Path(), u""), {u"a.dll"});
  expectTold(RegisterAutomationServer(options(), u"a.dll", Path(u"."), u""), {u".\\a.dll"});
  expectTold(RegisterAutomationServer(options(), u"a.dll", root(), u""), {});
}

TEST_F(RelativeCode, OfBundlesIsTold) {
  expectTold(GenerateJavaClassPath(options()), {u"bin\\win64\\classpath_services"});
  expectTold(BrantixServiceHostSetupCommand(options()),
             {u"bin\\win64\\desktopservicesetup\\install\\desktopservicesetup\\implementation"});
}

}  // namespace
}  // namespace registration::commands
