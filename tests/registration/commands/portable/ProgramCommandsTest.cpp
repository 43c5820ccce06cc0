#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "install/postinstall/RegistryUtil.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "registration/commands/InstallDotNetAssemblyFiles.hpp"
#include "registration/commands/LaunchCppMicroServicesCacheExecutable.hpp"
#include "registration/commands/LaunchFyroSettingsExecutable.hpp"
#include "registration/commands/RegisterAutomationServer.hpp"
#include "registration/commands/RegisterDlls.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/temporary_folder.hpp"

namespace registration::commands {
namespace {

using nlohmann::json;
using Lines = std::vector<UString>;

/// What the commands that run programs leave on a simulated machine.
class ProgramCommands : public ::testing::Test {
 protected:
  ProgramCommands() {
    write(u"C:\\Windows\\System32\\regsvr32.exe");
    for (auto const* folder :
         {u"C:\\R1", u"C:\\R1\\toolbox", u"C:\\R1\\toolbox\\zembric",
          u"C:\\R1\\toolbox\\zembric\\bin", u"C:\\R1\\toolbox\\zembric\\bin\\win64",
          u"C:\\R1\\toolbox\\zembric\\bin\\win64\\v4.0"})
      machine_.files().createDirectory(folder);
  }
  void write(UString const& file, std::string_view bytes = "x") {
    machine_.files().openForWriting(file, machine::WriteMode::createNew)->write(bytes);
  }
  json saved(char const* file, char const* list) {
    machine_.save();
    std::ifstream stream(directory_.path() / file);
    return json::parse(stream)[list];
  }

  tests::TemporaryFolder directory_;
  machine::simulated::SimulatedMachine machine_{directory_.path()};
  machine::ScopedMachine scope_{machine_};
  tests::LogCapture log_;
};

TEST_F(ProgramCommands, RegisterDllsHasRegsvr32RunByTheShell) {
  write(u"C:\\R1\\a server.dll");
  RegisterDlls const command(tests::plainOptions(), {u"C:\\R1\\a server.dll", u"C:\\none.dll"});
  command.execute();
  command.undo();
  EXPECT_EQ(saved("processes.json", "shellExecuted"), json::parse(R"([
    {"program": "C:\\Windows\\System32\\regsvr32.exe",
     "parameters": "/s \"C:\\R1\\a server.dll\""},
    {"program": "C:\\Windows\\System32\\regsvr32.exe",
     "parameters": "/u /s \"C:\\R1\\a server.dll\""}])"));
  EXPECT_EQ(
      log_.messages(),
      (Lines{u"Running [C:\\Windows\\System32\\regsvr32.exe /s \"C:\\R1\\a server.dll\"]",
             u"Successfully ran [C:\\Windows\\System32\\regsvr32.exe /s \"C:\\R1\\a server.dll\"]",
             u"C:\\none.dll not registered since it does not exist",
             u"Running [C:\\Windows\\System32\\regsvr32.exe /u /s \"C:\\R1\\a server.dll\"]",
             u"Successfull ran [C:\\Windows\\System32\\regsvr32.exe /u /s \"C:\\R1\\a "
             u"server.dll\"]",
             u"C:\\none.dll does not exist"}));
}

TEST_F(ProgramCommands, RegisterDllsWithoutRegsvr32RunsNothing) {
  machine_.files().removeFile(u"C:\\Windows\\System32\\regsvr32.exe");
  RegisterDlls(tests::plainOptions(), {u"C:\\Windows"}).execute();
  EXPECT_EQ(log_.messages(),
            Lines{u"C:\\Windows\\System32\\regsvr32.exe does not exist while registering Dlls"});
  EXPECT_TRUE(saved("processes.json", "shellExecuted").empty());
}

TEST_F(ProgramCommands, InstallDotNetAssemblyFilesHasTheInstallerRunByTheShell) {
  write(u"C:\\R1\\toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe");
  write(u"C:\\R1\\an assembly.dll");
  machine_.registry().setValue({machine::RegistryRoot::localMachine,
                                u"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full"},
                               u"Install", machine::RegistryValue::ofDword(1));
  InstallDotNetAssemblyFiles const command(tests::withRoot(u"C:/R1"), {u"C:\\R1\\an assembly.dll"});
  command.execute();
  command.undo();
  EXPECT_EQ(saved("processes.json", "shellExecuted"), json::parse(R"([
    {"program": "C:\\R1\\toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe",
     "parameters": "\"C:\\R1\\an assembly.dll\""}])"));
}

TEST_F(ProgramCommands, RegisterAutomationServerCallsTheModulesFunctions) {
  write(u"C:\\R1\\server.dll", "RegisterOLEServer2\nUnRegisterOLEServer2\n");
  RegisterAutomationServer const command(tests::plainOptions(), u"server.dll", u"C:\\R1",
                                         u"caf\u00e9");
  command.execute();
  command.undo();
  EXPECT_EQ(saved("modules.json", "calls"), json::parse(R"([
    {"module": "C:\\R1\\server.dll", "entryPoint": "RegisterOLEServer2",
     "arguments": ["C:\\R1", "café", "VORTAN.exe"]},
    {"module": "C:\\R1\\server.dll", "entryPoint": "UnRegisterOLEServer2",
     "arguments": ["C:\\R1", "café", "VORTAN.exe"]}])"));
  EXPECT_EQ(machine_.files().currentDirectory(), u"C:\\");
  EXPECT_EQ(log_.messages(), (Lines{u"Successfully registered server.dll as an automation server",
                                    u"Successfully unregistered server.dll as an automation "
                                    u"server"}));
}

TEST_F(ProgramCommands, RegisterAutomationServerFailsWithoutTheFunction) {
  write(u"C:\\R1\\server.dll", "RegisterOLEServer2\n");
  RegisterAutomationServer(tests::plainOptions(), u"server.dll", u"C:\\R1", u"").undo();
  EXPECT_EQ(log_.messages(), Lines{u"Failed to unregister server.dll as an automation server"});
  EXPECT_TRUE(saved("modules.json", "calls").empty());
}

TEST_F(ProgramCommands, LaunchersStartTheirProgramsWithoutWindowAndOutput) {
  write(u"C:\\R1\\cache.exe");
  write(u"C:\\R1\\settings.exe");
  machine_.setExitCode(u"cache.exe", 3);
  utility::Options::Values values;
  values.usageDataSettingsRequested = true;
  values.settingsToolOptionSet = true;
  values.rootPath = u"C:\\R1\\";
  values.usageDataSettingsArgument = u"a \"b\"";
  utility::Options const options(values);
  LaunchCppMicroServicesCacheExecutable(options, u"C:\\R1\\cache.exe").execute();
  LaunchFyroSettingsExecutable(options, u"C:\\R1\\settings.exe").execute();
  EXPECT_EQ(saved("processes.json", "launched"), json::parse(R"([
    {"program": "C:\\R1\\cache.exe", "arguments": [], "noWindow": true, "detached": false,
     "standardOutput": {"kind": "discard"}, "standardError": {"kind": "discard"}},
    {"program": "C:\\R1\\settings.exe",
     "arguments": ["-m", "C:\\R1\\", "-i", "a \"b\"", "-s", "-c"],
     "noWindow": true, "detached": false,
     "standardOutput": {"kind": "discard"}, "standardError": {"kind": "discard"}}])"));
  EXPECT_EQ(log_.messages(), (Lines{u"Calling Manifest cache executable",
                                    u"Successfully called Manifest cache executable"}));
}

}  // namespace
}  // namespace registration::commands
