#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "foundation/storage/vfs/Exception.hpp"
#include "install/postinstall/RegistryUtil.hpp"
#include "machine/overlay/overlay_machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "machine/watch/watched_machine.hpp"
#include "registration/commands/Add3PEnvVarToMetadataFile.hpp"
#include "registration/commands/Add3PVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/Add3pJavaPathEntriesToMetadataFile.hpp"
#include "registration/commands/AddJavaPathEntriesToMetadataFile.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/BrantixServiceHostSetupCommand.hpp"
#include "registration/commands/CreateDesktopShortcuts.hpp"
#include "registration/commands/CreateStartMenuShortcuts.hpp"
#include "registration/commands/CreateSymlink.hpp"
#include "registration/commands/GenerateJavaClassPath.hpp"
#include "registration/commands/GeneratePathDef.hpp"
#include "registration/commands/InstallDotNetAssemblyFiles.hpp"
#include "registration/commands/InstallationsRegistryCommand.hpp"
#include "registration/commands/LaunchCppMicroServicesCacheExecutable.hpp"
#include "registration/commands/LaunchFyroSettingsExecutable.hpp"
#include "registration/commands/RegisterAutomationServer.hpp"
#include "registration/commands/RegisterDlls.hpp"
#include "registration/commands/SetFileAssociations.hpp"
#include "registration/commands/SetRegistryKeys.hpp"
#include "registration/commands/StartServices.hpp"
#include "registration/commands/UpdatePathEnvironmentVariable.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tools/regplan/catalogue.hpp"
#include "tools/regplan/runner.hpp"
#include "tools/regplan/views.hpp"

/// Every way in which a command fails, and what a run and a preview say of it.
namespace regplan {
namespace {

using namespace registration::commands;
using registration::Path;
using registration::utility::Options;
using Faults = tests::Faults;
using Make = std::function<std::unique_ptr<Command>()>;

struct Row {
  std::string command;
  std::string situation;
  Make make;
  /// How a line of the log begins that tells of it; empty: the log is silent.
  std::string line;
  Operation operation = Operation::execute;
  std::function<void(machine::Machine&)> arrange = [](machine::Machine&) {};
  /// Which operations of the machine fail.
  Faults::Predicate fault = nullptr;
  Outcome inRun = Outcome::doneWithProblems;
  /// A preview changes nothing, so it meets no failure of a change.
  Outcome inPreview = Outcome::doneWithProblems;
};

std::ostream& operator<<(std::ostream& stream, Row const& row) {
  return stream << row.command << ": " << row.situation;
}

constexpr char16_t const* root = u"C:\\R1";

/// Every flag on, so that every command acts.
Options options() {
  Options::Values values;
  values.desktopShortcutRequested = true;
  values.fileAssociationRequested = true;
  values.serviceHostRequested = true;
  values.usageDataSettingsRequested = true;
  values.startMenuShortcutRequested = true;
  values.scheduledServicesEnabled = true;
  values.rootPath = root;
  values.bundleRootPath = root;
  values.metadataRootPath = root;
  return Options(values);
}

template <typename Made, typename... Arguments>
Make making(Arguments... arguments) {
  return [=] { return std::make_unique<Made>(options(), arguments...); };
}

Faults::Predicate failing(std::string operation, machine::UString end) {
  return [=](std::string_view called, std::u16string_view subject) {
    return called == operation && subject.ends_with(end);
  };
}

/// For what takes a system's failure for an answer, as the existence test does.
Faults::Predicate breaking(std::string operation, machine::UString end) {
  return [=](std::string_view called, std::u16string_view subject) {
    bool const breaks = called == operation && subject.ends_with(end);
    return breaks ? throw std::runtime_error("broken") : false;
  };
}

void write(machine::Machine& machine, machine::UString const& file, std::string_view bytes = "x") {
  std::vector<machine::UString> missing;
  for (auto folder = machine::UString(machine::path_grammar::parent(file));
       !machine.files().status(folder);
       folder = machine::UString(machine::path_grammar::parent(folder))) {
    missing.push_back(folder);
  }
  for (; !missing.empty(); missing.pop_back()) machine.files().createDirectory(missing.back());
  auto const writer = machine.files().openForWriting(file, machine::WriteMode::truncate);
  writer->write(bytes);
  writer->close();
}

std::function<void(machine::Machine&)> withFile(machine::UString const& file,
                                                std::string const& bytes = "x") {
  return [=](machine::Machine& machine) { write(machine, file, bytes); };
}

template <typename... Actions>
std::function<void(machine::Machine&)> all(Actions... actions) {
  return [=](machine::Machine& machine) { (actions(machine), ...); };
}

// Path metadata

Row phl(std::string situation, std::string line, Faults::Predicate fault) {
  return {"AddVTPathEntriesToMetadataFile",
          std::move(situation),
          making<AddVTPathEntriesToMetadataFile>(),
          std::move(line),
          Operation::execute,
          all(withFile(u"C:\\R1\\a.phl", "bin\n"), withFile(u"C:\\R1\\bin\\x"),
              withFile(u"C:\\R1\\ssiSearchFolders", "bin\n")),
          std::move(fault)};
}

Row jcp(std::string situation, std::string line, Faults::Predicate fault) {
  return {"AddJavaPathEntriesToMetadataFile",
          std::move(situation),
          making<AddJavaPathEntriesToMetadataFile>(),
          std::move(line),
          Operation::execute,
          all(withFile(u"C:\\R1\\a.jcp", "$vortanroot/a.jar\n"), withFile(u"C:\\R1\\a.jar"),
              withFile(u"C:\\R1\\javaClassPath", "C:\\R1\\b.jar\n")),
          std::move(fault)};
}

std::string const instructionSet =
    R"({"version": 1, "envVariables": [{"name": "A", "value": "b", "overwrite": true}],)"
    R"( "VortanPaths": ["$IS_ROOT_DIR"], "JavaClassPaths": ["$IS_ROOT_DIR"]})";

template <typename Made>
Row thirdParty(std::string command, std::string situation, std::string line,
               Faults::Predicate fault) {
  return {std::move(command),
          std::move(situation),
          making<Made>(),
          std::move(line),
          Operation::execute,
          withFile(u"C:\\R1\\instructionsets\\a\\instructionset.json", instructionSet),
          std::move(fault)};
}

class FailingPathDef : public GeneratePathDef {
 public:
  using GeneratePathDef::GeneratePathDef;

 protected:
  void generatePathDefFile() const override {
    throw foundation::storage::vfs::Exception(foundation::storage::vfs::ErrorCode::noSpaceLeft,
                                              u"file:///C:/R1");
  }
};

class FailingClassPath : public GenerateJavaClassPath {
 public:
  using GenerateJavaClassPath::GenerateJavaClassPath;

 protected:
  void invokeClassPathService() const override { throw std::runtime_error("x"); }
};

std::vector<Row> metadataRows() {
  std::vector<Row> rows = {
      phl("a list cannot be opened",
          "Unable to open phl file: ", failing("openForReading", u"a.phl")),
      phl("the tree cannot be walked", "Error getting all PHL files",
          failing("openDirectory", u"C:\\R1")),
      phl("an entry cannot be looked at", "Error writing to ssiSearchFolders",
          breaking("status", u"C:\\R1\\bin")),
      jcp("a list cannot be opened",
          "Unable to open jcp file: ", failing("openForReading", u"a.jcp")),
      jcp("the tree cannot be walked", "Error getting all JCP files",
          failing("openDirectory", u"C:\\R1")),
      jcp("the file cannot be read back",
          "Unable to open javaClassPath file: ", failing("openForReading", u"javaClassPath")),
      jcp("an entry cannot be looked at", "Error writing to javaClassPath",
          breaking("status", u"a.jar")),
      thirdParty<Add3PEnvVarToMetadataFile>(
          "Add3PEnvVarToMetadataFile", "an instruction set cannot be read",
          "Error getting all environment variables for 3P from instruction sets",
          failing("openForReading", u"instructionset.json")),
      thirdParty<Add3PVTPathEntriesToMetadataFile>(
          "Add3PVTPathEntriesToMetadataFile", "an instruction set cannot be read",
          "Error getting VORTAN path entries from Instruction Set files",
          failing("openForReading", u"instructionset.json")),
      thirdParty<Add3PVTPathEntriesToMetadataFile>(
          "Add3PVTPathEntriesToMetadataFile", "an entry cannot be looked at",
          "Error writing to ssiSearchFolders", breaking("status", u"instructionsets\\a")),
      thirdParty<Add3pJavaPathEntriesToMetadataFile>(
          "Add3pJavaPathEntriesToMetadataFile", "an instruction set cannot be read",
          "Error getting 3p javaClassPath from Instruction set map",
          failing("openForReading", u"instructionset.json")),
      thirdParty<Add3pJavaPathEntriesToMetadataFile>(
          "Add3pJavaPathEntriesToMetadataFile", "an entry cannot be looked at",
          "Error writing to 3p javaClassPath", breaking("status", u"instructionsets\\a")),
      {"GeneratePathDef", "the file system fails", making<FailingPathDef>(),
       "Failed to generate pathdef.vsc for C:\\R1. Error: "},
      {"GeneratePathDef", "the file system fails at removal", making<FailingPathDef>(),
       "Failed to generate pathdef.vsc for C:\\R1. Error: ", Operation::undo},
      {"GenerateJavaClassPath", "the service fails", making<FailingClassPath>(),
       "Failed to generate Java classpath for C:\\R1. Error: x"},
      {"GenerateJavaClassPath", "the service fails at removal", making<FailingClassPath>(),
       "Failed to regenerate Java classpath for C:\\R1. Error: x", Operation::undo},
  };
  // Where a file is not to be written, a preview writes none and meets nothing.
  for (Row row :
       {phl("the old file cannot be removed", "Unable to add path entries to metadata file",
            breaking("status", u"ssiSearchFolders")),
        jcp("the file cannot be looked at", "Unable to add java path entries to metadata file",
            breaking("status", u"javaClassPath")),
        thirdParty<Add3PEnvVarToMetadataFile>(
            "Add3PEnvVarToMetadataFile", "the file cannot be looked at",
            "Unable to add environment variable entries to metadata file",
            breaking("status", u"envVariableList")),
        thirdParty<Add3PVTPathEntriesToMetadataFile>(
            "Add3PVTPathEntriesToMetadataFile", "the file cannot be looked at",
            "Unable to add 3P path entries to metadata file",
            breaking("status", u"ssiSearchFolders")),
        thirdParty<Add3pJavaPathEntriesToMetadataFile>(
            "Add3pJavaPathEntriesToMetadataFile", "the file cannot be looked at",
            "Unable to add 3p java path entries to metadata file",
            breaking("status", u"javaClassPath"))}) {
    rows.push_back(std::move(row));
  }
  return rows;
}

// The operating system

machine::RegistryKey const environmentKey{
    machine::RegistryRoot::localMachine,
    u"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment"};

void setPath(machine::Machine& machine, machine::RegistryValue const& value) {
  machine.registry().createKey(environmentKey);
  machine.registry().setValue(environmentKey, u"Path", value);
}

std::function<void(machine::Machine&)> withPath(machine::UString const& text) {
  return [=](machine::Machine& machine) {
    setPath(machine, machine::RegistryValue::ofText(text, machine::RegistryType::expandableString));
  };
}

Make updatingPath() {
  return making<UpdatePathEnvironmentVariable>(
      std::u16string(u"C:\\R1\\bin"), std::u16string(u"25.1"), std::u16string(u"vortan.exe"));
}

/// Broadcasts a change that no window takes.
class UnheardPath : public UpdatePathEnvironmentVariable {
 public:
  using UpdatePathEnvironmentVariable::UpdatePathEnvironmentVariable;

 protected:
  long sendMessageAboutEnvironment() const override { return -1; }
};

Make settingKeys() {
  return [] {
    std::list<registryKey> const keys = {
        {install::postinstall::localMachineKey(), u"SOFTWARE\\Maker\\Product", u"Version", u"1"}};
    return std::make_unique<SetRegistryKeys>(options(), keys,
                                             install::postinstall::RegistryUtil::getRegistryUtil());
  };
}

template <typename Shortcuts>
Make shortcut(std::u16string const& target);

template <>
Make shortcut<CreateDesktopShortcuts>(std::u16string const& target) {
  return [=] {
    return std::make_unique<CreateDesktopShortcuts>(options(), target, u"", u"", u"", false, false);
  };
}

template <>
Make shortcut<CreateStartMenuShortcuts>(std::u16string const& target) {
  return [=] {
    return std::make_unique<CreateStartMenuShortcuts>(options(), target, u"Maker", u"", u"", u"",
                                                      false, false, false);
  };
}

Make files(std::u16string const& file, bool isAssembly) {
  return [=]() -> std::unique_ptr<Command> {
    std::vector<Path> const list = {Path(file)};
    if (isAssembly) return std::make_unique<InstallDotNetAssemblyFiles>(options(), list);
    return std::make_unique<RegisterDlls>(options(), list);
  };
}

machine::UString const regsvr = u"C:\\Windows\\System32\\regsvr32.exe";
machine::UString const gacInstaller =
    u"C:\\R1\\toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe";

void installDotNet(machine::Machine& machine) {
  machine::RegistryKey const key{machine::RegistryRoot::localMachine,
                                 u"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full"};
  machine.registry().createKey(key);
  machine.registry().setValue(key, u"Install", machine::RegistryValue::ofDword(1));
}

Make automationServer() {
  return making<RegisterAutomationServer>(std::u16string(u"server.dll"), Path(u"C:\\R1"),
                                          std::u16string(u""));
}

Make fileAssociations() {
  return [] { return std::make_unique<SetFileAssociations>(options(), 4UL); };
}

std::vector<Row> systemRows() {
  std::string const dll = "C:\\R1\\a.dll";
  return {
      {"UpdatePathEnvironmentVariable", "the new value is too long", updatingPath(),
       "Path too long, cannot update path environment value.", Operation::execute,
       withPath(machine::UString(2040, u'x'))},
      {.command = "UpdatePathEnvironmentVariable",
       .situation = "the process's own value cannot be set",
       .make = updatingPath(),
       .line = "Failed to update path for the current session",
       .arrange = withPath(u"C:\\Windows;"),
       .fault = failing("setVariable", u"Path"),
       .inPreview = Outcome::done},
      {.command = "UpdatePathEnvironmentVariable",
       .situation = "the broadcast fails",
       .make = making<UnheardPath>(std::u16string(u"C:\\R1\\bin"), std::u16string(u"25.1"),
                                   std::u16string(u"vortan.exe")),
       .line = "Failed to send message about system path environment change with error: ",
       .arrange = withPath(u"C:\\Windows;")},
      {.command = "UpdatePathEnvironmentVariable",
       .situation = "the broadcast fails at removal",
       .make = making<UnheardPath>(std::u16string(u"C:\\R1\\bin"), std::u16string(u"25.1"),
                                   std::u16string(u"vortan.exe")),
       .line = "Failed to send message about system path environment change with error: ",
       .operation = Operation::undo,
       .arrange = withPath(u"C:\\R1\\bin;")},
      {.command = "UpdatePathEnvironmentVariable",
       .situation = "the value cannot be written",
       .make = updatingPath(),
       .line = "",
       .arrange = withPath(u"C:\\Windows;"),
       .fault = failing("setValue", u"Environment"),
       .inRun = Outcome::failed,
       .inPreview = Outcome::done},
      {.command = "UpdatePathEnvironmentVariable",
       .situation = "the value is no string",
       .make = updatingPath(),
       .line = "",
       .arrange =
           [](machine::Machine& machine) { setPath(machine, machine::RegistryValue::ofDword(1)); },
       .inRun = Outcome::failed,
       .inPreview = Outcome::failed},
      {.command = "SetRegistryKeys",
       .situation = "a value cannot be written",
       .make = settingKeys(),
       .line = "",
       .fault = failing("setValue", u"Product"),
       .inRun = Outcome::failed,
       .inPreview = Outcome::done},
      {.command = "SetRegistryKeys",
       .situation = "a key cannot be removed",
       .make = settingKeys(),
       .line = "",
       .operation = Operation::undo,
       .arrange =
           [](machine::Machine& machine) {
             machine.registry().createKey(
                 {machine::RegistryRoot::localMachine, u"SOFTWARE\\Maker\\Product"});
           },
       .fault = failing("removeKey", u"Product"),
       .inRun = Outcome::failed,
       .inPreview = Outcome::done},
      {"CreateDesktopShortcuts", "there is neither target nor name",
       shortcut<CreateDesktopShortcuts>(u""), "Exception while creating desktop shortcut for "},
      {"CreateDesktopShortcuts", "there is neither target nor name at removal",
       shortcut<CreateDesktopShortcuts>(u""), "Exception while deleting desktop shortcut for ",
       Operation::undo},
      {"CreateStartMenuShortcuts", "there is neither target nor name",
       shortcut<CreateStartMenuShortcuts>(u""),
       "Exception while creating start menu shortcut for "},
      {"CreateStartMenuShortcuts", "there is neither target nor name at removal",
       shortcut<CreateStartMenuShortcuts>(u""), "Exception while deleting start menu shortcut for ",
       Operation::undo},
      {.command = "SetFileAssociations",
       .situation = "a key cannot be written",
       .make = fileAssociations(),
       .line = "Failed to update file associations at C:\\R1",
       .fault =
           [](std::string_view operation, std::u16string_view subject) {
             return (operation == "setText" || operation == "setValue" ||
                     operation == "createKey") &&
                    subject.find(u"Classes") != subject.npos;
           },
       .inPreview = Outcome::done},
      {.command = "SetFileAssociations",
       .situation = "a key cannot be read at removal",
       .make = fileAssociations(),
       .line = "Failed to delete file associations at C:\\R1",
       .operation = Operation::undo,
       .fault =
           [](std::string_view operation, std::u16string_view subject) {
             return (operation == "value" || operation == "subkeys" || operation == "values" ||
                     operation == "keyExists") &&
                    subject.find(u"Classes") != subject.npos;
           }},
      {"RegisterAutomationServer", "the module is missing", automationServer(),
       "C:\\R1\\server.dll does not exist"},
      {"RegisterAutomationServer", "the module is missing at removal", automationServer(),
       "C:\\R1\\server.dll does not exist", Operation::undo},
      {"RegisterAutomationServer", "the entry point is missing", automationServer(),
       "Failed to register server.dll as an automation server", Operation::execute,
       withFile(u"C:\\R1\\server.dll"), nullptr, Outcome::doneWithProblems, Outcome::handsOver},
      {"RegisterAutomationServer", "the entry point is missing at removal", automationServer(),
       "Failed to unregister server.dll as an automation server", Operation::undo,
       withFile(u"C:\\R1\\server.dll"), nullptr, Outcome::doneWithProblems, Outcome::handsOver},
      {"RegisterDlls", "regsvr32 is missing", files(u"C:\\R1\\a.dll", false),
       "C:\\Windows\\System32\\regsvr32.exe does not exist while registering Dlls"},
      {"RegisterDlls", "regsvr32 is missing at removal", files(u"C:\\R1\\a.dll", false),
       "C:\\Windows\\System32\\regsvr32.exe does not exist while unregistering Dlls ",
       Operation::undo},
      {"RegisterDlls", "the DLL is missing", files(u"C:\\R1\\a.dll", false),
       dll + " not registered since it does not exist", Operation::execute, withFile(regsvr)},
      {"RegisterDlls", "the DLL is missing at removal", files(u"C:\\R1\\a.dll", false),
       dll + " does not exist", Operation::undo, withFile(regsvr)},
      {.command = "RegisterDlls",
       .situation = "regsvr32 cannot be run",
       .make = files(u"C:\\R1\\a.dll", false),
       .line = "Failed to run [C:\\Windows\\System32\\regsvr32.exe /s \"C:\\R1\\a.dll\"]",
       .arrange = all(withFile(regsvr), withFile(u"C:\\R1\\a.dll")),
       .fault = failing("shellExecute", u"regsvr32.exe"),
       .inPreview = Outcome::handsOver},
      {.command = "RegisterDlls",
       .situation = "regsvr32 cannot be run at removal",
       .make = files(u"C:\\R1\\a.dll", false),
       .line = "Failed to run [C:\\Windows\\System32\\regsvr32.exe /u /s \"C:\\R1\\a.dll\"]",
       .operation = Operation::undo,
       .arrange = all(withFile(regsvr), withFile(u"C:\\R1\\a.dll")),
       .fault = failing("shellExecute", u"regsvr32.exe"),
       .inPreview = Outcome::handsOver},
      {"InstallDotNetAssemblyFiles", "there is no .NET Framework", files(u"C:\\R1\\a.dll", true),
       ".NET Framework Version 4 is not installed. Unable to install .NET Assembly files."},
      {"InstallDotNetAssemblyFiles", "the assembly installer is missing",
       files(u"C:\\R1\\a.dll", true),
       "C:\\R1\\toolbox\\zembric\\bin\\win64\\v4.0\\GACInstaller.exe does not exist",
       Operation::execute, installDotNet},
      {"InstallDotNetAssemblyFiles", "the assembly is missing", files(u"C:\\R1\\a.dll", true),
       dll + " does not exist", Operation::execute, all(installDotNet, withFile(gacInstaller))},
      {.command = "InstallDotNetAssemblyFiles",
       .situation = "the assembly installer cannot be run",
       .make = files(u"C:\\R1\\a.dll", true),
       .line = "Failed to run [",
       .arrange = all(installDotNet, withFile(gacInstaller), withFile(u"C:\\R1\\a.dll")),
       .fault = failing("shellExecute", u"GACInstaller.exe"),
       .inPreview = Outcome::handsOver},
  };
}

// Services and helper programs

machine::TaskDefinition runningTool() {
  machine::TaskDefinition definition;
  definition.application = u"C:\\R1\\tool.exe";
  return definition;
}

void scheduleTool(machine::Machine& machine) {
  machine.tasks().createOrReplace(u"Task", runningTool());
}

Make startingService() {
  return making<StartServices>(std::u16string(u"Task"), std::u16string(u""),
                               std::u16string(u"C:\\R1\\tool.exe"), std::u16string(u""), false);
}

/// A setup service that answers as told.
class Setup : public install::desktopservicesetup::DesktopServiceSetupUtility {
 public:
  using Result = install::desktopservicesetup::DesktopServiceSetupResult;

  explicit Setup(Result result) : result_(result) {}

  Result unpackInstaller(Path const&, registration::UString const&) override { return result_; }
  Result installServiceHost(Path const&, Path const&, bool) override { return result_; }
  void removeSource(Path const&) override { throw std::runtime_error("x"); }
  Result downloadLatestInstaller(Path const&) override { throw std::runtime_error("x"); }
  Result downloadLatestPackage(Path const&) override { return result_; }
  bool queryVersions(Path const&, std::string&, std::string&) override { return false; }

 private:
  Result result_;
};

class SettingUp : public BrantixServiceHostSetupCommand {
 public:
  SettingUp(Options const& given, std::optional<Setup::Result> result)
      : BrantixServiceHostSetupCommand(given), result_(result) {}

 protected:
  void startService() const override {}
  std::shared_ptr<install::desktopservicesetup::DesktopServiceSetupUtility> getServicePointer()
      const override {
    if (!result_) throw std::runtime_error("x");
    return std::make_shared<Setup>(*result_);
  }

 private:
  std::optional<Setup::Result> result_;
};

Make settingUp(std::optional<Setup::Result> result) {
  return [=] { return std::make_unique<SettingUp>(options(), result); };
}

void askForLatest(machine::Machine& machine) {
  machine.environment().setVariable(u"BRANTIX_VORTAN_FEATURE_DownloadLatestBsh", u"1");
}

void askForNonsense(machine::Machine& machine) {
  machine.environment().setVariable(u"BRANTIX_VORTAN_FEATURE_DownloadLatestBsh", u"perhaps");
}

std::vector<Row> serviceRows() {
  auto const cacheBuilder = making<LaunchCppMicroServicesCacheExecutable>(Path(u"C:\\R1\\c.exe"));
  auto const settingsTool = making<LaunchFyroSettingsExecutable>(Path(u"C:\\R1\\s.exe"));
  return {
      {.command = "StartServices",
       .situation = "the old task cannot be stopped",
       .make = startingService(),
       .line = "Failed to stop Task for C:\\R1\\tool.exe",
       .arrange = scheduleTool,
       .fault = failing("stopAndDisable", u"Task"),
       .inPreview = Outcome::done},
      {.command = "StartServices",
       .situation = "the task cannot be scheduled",
       .make = startingService(),
       .line = "Failed to schedule Task for C:\\R1\\tool.exe, the error code is: ",
       .fault = failing("createOrReplace", u"Task"),
       .inPreview = Outcome::done},
      {.command = "StartServices",
       .situation = "the task cannot be stopped at removal",
       .make = startingService(),
       .line = "Task for C:\\R1\\tool.exe does not exist",
       .operation = Operation::undo,
       .arrange = scheduleTool,
       .fault = failing("stopAndDisable", u"Task"),
       .inPreview = Outcome::done},
      {.command = "StartServices",
       .situation = "the task cannot be removed",
       .make = startingService(),
       .line = "Failed to remove Task for C:\\R1\\tool.exe",
       .operation = Operation::undo,
       .arrange = scheduleTool,
       .fault = failing("remove", u"Task"),
       .inPreview = Outcome::done},
      {"BrantixServiceHostSetupCommand", "the setup service is not there", settingUp(std::nullopt),
       "Failed to get Brantix Service Host utility service pointer: x"},
      {"BrantixServiceHostSetupCommand", "the shipped packages cannot be installed",
       settingUp(Setup::Result::packageMissing),
       "Failed to install Brantix Service Host with error code: "},
      {"BrantixServiceHostSetupCommand", "the downloads cannot be removed",
       settingUp(Setup::Result::success),
       "Failed to install Brantix Service Host with exception: x"},
      {"BrantixServiceHostSetupCommand", "the latest version cannot be downloaded",
       settingUp(Setup::Result::success),
       "Failed to download and install the latest version of Brantix Service Host with exception: "
       "x",
       Operation::execute, askForLatest},
      {"BrantixServiceHostSetupCommand", "the feature's variable is no number",
       settingUp(Setup::Result::success),
       "Failed to connect to Brantix Service Host latest version web service", Operation::execute,
       askForNonsense},
      {"LaunchCppMicroServicesCacheExecutable", "the program is missing", cacheBuilder,
       "Manifest cache executable does not exist"},
      {.command = "LaunchCppMicroServicesCacheExecutable",
       .situation = "the program cannot be started",
       .make = cacheBuilder,
       .line = "Unable to call Manifest cache executable:",
       .arrange = withFile(u"C:\\R1\\c.exe"),
       .fault = failing("start", u"c.exe"),
       .inPreview = Outcome::handsOver},
      {.command = "LaunchFyroSettingsExecutable",
       .situation = "the program cannot be started",
       .make = settingsTool,
       .line = "",
       .arrange = withFile(u"C:\\R1\\s.exe"),
       .fault = failing("start", u"s.exe"),
       .inRun = Outcome::failed,
       .inPreview = Outcome::handsOver},
      {.command = "InstallationsRegistryCommand",
       .situation = "the record cannot be written",
       .make = making<InstallationsRegistryCommand>(),
       .line = "Failed to add VORTAN record to installation registry",
       .arrange =
           withFile(u"C:\\ProgramData\\Brantix\\Installations\\installations.json", "no JSON")},
  };
}

std::vector<Row> everyRow() {
  std::vector<Row> rows = metadataRows();
  for (auto const& more : {systemRows(), serviceRows()}) {
    rows.insert(rows.end(), more.begin(), more.end());
  }
  return rows;
}

class FailureRow : public testing::TestWithParam<Row> {
 protected:
  FailureRow() {
    machine::ScopedMachine const scope(simulated_);
    GetParam().arrange(simulated_);
    if (GetParam().fault) {
      faulty_.faults().failWhen(GetParam().fault, machine::ErrorCode::accessDenied);
    }
  }

  CommandResult perform(machine::Machine& target, bool isPreview) {
    CommandWatch watch(target, isPreview, CommandWatch::Depth::changes);
    machine::watch::WatchedMachine watched(target, {&watch});
    machine::ScopedMachine const scope(watched);
    Plan plan;
    plan.commands.push_back({GetParam().command, GetParam().make()});
    std::ostringstream output;
    PlainView view(output);
    return runPlan(plan, GetParam().operation, view, std::chrono::steady_clock::now, watch).at(0);
  }
  CommandResult run() { return perform(faulty_, false); }
  CommandResult preview() {
    machine::overlay::OverlayMachine overlay(faulty_);
    return perform(overlay, true);
  }

 private:
  tests::TemporaryFolder directory_;
  machine::simulated::SimulatedMachine simulated_{directory_.path()};
  tests::FaultyMachine faulty_{simulated_};
};

bool tellsOfTrouble(CommandResult const& result, std::string const& line) {
  return std::ranges::any_of(result.messages, [&line](Message const& message) {
    return message.isTrouble && message.text.starts_with(line);
  });
}

TEST_P(FailureRow, IsToldByARun) {
  CommandResult const result = run();
  EXPECT_EQ(result.outcome, GetParam().inRun) << result.reason;
  if (GetParam().inRun == Outcome::failed) {
    EXPECT_NE(result.reason, "");
  } else {
    EXPECT_FALSE(result.troubles.empty());
    EXPECT_TRUE(tellsOfTrouble(result, GetParam().line));
  }
}

TEST_P(FailureRow, IsToldByAPreviewWhereItCanBeForeseen) {
  CommandResult const result = preview();
  EXPECT_EQ(result.outcome, GetParam().inPreview) << result.reason;
  if (GetParam().inPreview == Outcome::doneWithProblems) {
    EXPECT_TRUE(tellsOfTrouble(result, GetParam().line));
  }
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, FailureRow, testing::ValuesIn(everyRow()),
                         [](auto const& tested) {
                           std::string name = tested.param.command + "_" + tested.param.situation;
                           std::erase_if(name, [](unsigned char letter) {
                             return std::isalnum(letter) == 0 && letter != '_';
                           });
                           return name;
                         });

TEST(FailureRows, NameEveryCommandOfTheCatalogueThatCanFail) {
  std::set<std::string_view> named;
  auto const rows = everyRow();
  for (Row const& row : rows) named.insert(row.command);
  for (auto const& command : commandCatalogue()) {
    EXPECT_EQ(named.contains(command.name), command.name != "CreateSymlink") << command.name;
  }
}

}  // namespace
}  // namespace regplan
