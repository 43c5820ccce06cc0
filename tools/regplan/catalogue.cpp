#include "tools/regplan/catalogue.hpp"

#include <array>

#include "install/postinstall/RegistryUtil.hpp"
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
#include "registration/commands/StartServices.hpp"
#include "registration/commands/UpdatePathEnvironmentVariable.hpp"

namespace regplan {
namespace {

using namespace registration::commands;
using Values = Options::Values;

template <typename C>
std::unique_ptr<Command const> withoutArguments(Options const& options, Arguments const&) {
  return std::make_unique<C>(options);
}

/// A command whose arguments are one list of files.
template <typename C>
std::unique_ptr<Command const> ofFiles(Options const& options, Arguments const& given) {
  return std::make_unique<C>(options, given.get<std::vector<Path>>("files"));
}

/// A command whose argument is one program.
template <typename C>
std::unique_ptr<Command const> ofProgram(Options const& options, Arguments const& given) {
  return std::make_unique<C>(options, given.get<Path>("executablePath"));
}

std::unique_ptr<Command const> setRegistryKeys(Options const& options, Arguments const& given) {
  return std::make_unique<SetRegistryKeys>(
      options, given.get<std::list<registryKey>>("registryKeys"), RegistryUtil::getRegistryUtil());
}

std::unique_ptr<Command const> updatePath(Options const& options, Arguments const& given) {
  return std::make_unique<UpdatePathEnvironmentVariable>(
      options, given.get<Path>("pathEntry").ustring(), given.get<UString>("productVersion"),
      given.get<UString>("executableName"));
}

std::unique_ptr<Command const> desktopShortcuts(Options const& options, Arguments const& given) {
  return std::make_unique<CreateDesktopShortcuts>(
      options, given.get<Path>("targetPath").ustring(), given.get<UString>("text2"),
      given.get<UString>("text3"), given.get<UString>("shortcutName"), given.get<bool>("flag1"),
      given.get<bool>("flag2"));
}

std::unique_ptr<Command const> startMenuShortcuts(Options const& options, Arguments const& given) {
  return std::make_unique<CreateStartMenuShortcuts>(
      options, given.get<Path>("targetPath").ustring(), given.get<UString>("text2"),
      given.get<UString>("text3"), given.get<UString>("text4"), given.get<UString>("shortcutName"),
      given.get<bool>("flag1"), given.get<bool>("flag2"), given.get<bool>("flag3"));
}

std::unique_ptr<Command const> symlink(Options const& options, Arguments const& given) {
  return std::make_unique<CreateSymlink>(options, given.get<std::vector<Path>>("linkPaths"),
                                         given.get<UString>("linkName"));
}

std::unique_ptr<Command const> automationServer(Options const& options, Arguments const& given) {
  return std::make_unique<RegisterAutomationServer>(options, given.get<UString>("moduleName"),
                                                    given.get<Path>("moduleFolder"),
                                                    given.get<UString>("serverArgument"));
}

std::unique_ptr<Command const> fileAssociations(Options const& options, Arguments const& given) {
  return std::make_unique<SetFileAssociations>(options, given.get<std::uint32_t>("productCode"));
}

std::unique_ptr<Command const> startServices(Options const& options, Arguments const& given) {
  return std::make_unique<StartServices>(
      options, given.get<UString>("taskName"), given.get<UString>("taskString2"),
      given.get<Path>("applicationPath").ustring(), given.get<UString>("taskString5"),
      given.get<bool>("flag1"));
}

}  // namespace

std::span<CommandDescription const> commandCatalogue() {
  using enum ArgumentType;
  using enum Need;
  static std::vector<CommandDescription> const commands = {
      {"Add3PEnvVarToMetadataFile",
       "Writes the environment variables that the instruction sets below the metadata root declare "
       "into envVariableList; undo does the same with the sets that are there then.",
       {},
       withoutArguments<Add3PEnvVarToMetadataFile>,
       {"metadataRootPath"}},
      {"Add3PVTPathEntriesToMetadataFile",
       "Appends the search-path folders that the instruction sets below the metadata root declare "
       "to ssiSearchFolders; undo does the same with the sets that are there then.",
       {},
       withoutArguments<Add3PVTPathEntriesToMetadataFile>,
       {"metadataRootPath"}},
      {"Add3pJavaPathEntriesToMetadataFile",
       "Writes the class path entries that the instruction sets below the metadata root declare "
       "into javaClassPath, in place of what it held; undo does the same with the sets that are "
       "there then.",
       {},
       withoutArguments<Add3pJavaPathEntriesToMetadataFile>,
       {"metadataRootPath"}},
      {"AddJavaPathEntriesToMetadataFile",
       "Adds the class path entries that the JCP files below the metadata root name and that are "
       "not in javaClassPath yet; undo does the same with the files that are there then.",
       {},
       withoutArguments<AddJavaPathEntriesToMetadataFile>,
       {"metadataRootPath"}},
      {"AddVTPathEntriesToMetadataFile",
       "Writes the search-path folders that the PHL files below the metadata root name into "
       "ssiSearchFolders; undo does the same with the files that are there then.",
       {},
       withoutArguments<AddVTPathEntriesToMetadataFile>,
       {"metadataRootPath"}},
      {"BrantixServiceHostSetupCommand",
       "Installs the service host as a Windows service and starts it, from the packages below the "
       "installation root or, with the feature DownloadLatestBsh, from a newer published one; undo "
       "does nothing. Acts when isServiceHostRequested.",
       {},
       withoutArguments<BrantixServiceHostSetupCommand>,
       {"rootPath"}},
      {"CreateDesktopShortcuts",
       "Makes a shortcut to a program on the desktop; undo removes it. Acts when "
       "isDesktopShortcutRequested.",
       {{"targetPath", path, required, "The program."},
        {"text2", text, optional, "The program's arguments."},
        {"text3", text, optional, "The shortcut's description."},
        {"shortcutName", text, optional,
         "The shortcut's file name without extension; empty: the program's."},
        {"flag1", boolean, optional, "Whether the program starts maximized."},
        {"flag2", boolean, optional, "Whether the program starts as administrator."}},
       desktopShortcuts},
      {"CreateStartMenuShortcuts",
       "Makes a shortcut to a program in the Start menu; undo removes it. Acts when "
       "isStartMenuShortcutRequested.",
       {{"targetPath", path, required, "The program."},
        {"text2", text, optional, "The folder, relative to the Start menu's Programs folder."},
        {"text3", text, optional, "The program's arguments."},
        {"text4", text, optional, "The shortcut's description."},
        {"shortcutName", text, optional,
         "The shortcut's file name without extension; empty: the program's."},
        {"flag1", boolean, optional, "Whether the program starts maximized."},
        {"flag2", boolean, optional,
         "Whether the shell is kept from looking elsewhere for a program that is gone."},
        {"flag3", boolean, optional, "Whether the program starts as administrator."}},
       startMenuShortcuts},
      {"CreateSymlink",
       "Changes nothing, neither at run nor at undo: it keeps links in a plan.",
       {{"linkPaths", paths, required, "The links."},
        {"linkName", text, optional,
         "File name, without extension, that a link's target gets; empty: the link's own."}},
       symlink},
      {"GenerateJavaClassPath",
       "Has the class path service, of the bundles below the bundle root, generate the product's "
       "Java class path from javaClassPath; undo does the same with what is there then.",
       {},
       withoutArguments<GenerateJavaClassPath>,
       {"rootPath", "bundleRootPath"}},
      {"GeneratePathDef",
       "Writes the search-path definition file, pathdef.vsc, from the one that is there, from "
       "ssiSearchFolders and from the toolbox folders; undo does the same with what is there then.",
       {},
       withoutArguments<GeneratePathDef>,
       {"rootPath", "bundleRootPath"}},
      {"InstallDotNetAssemblyFiles",
       "Installs .NET assemblies into the global assembly cache with the product's GACInstaller, "
       "when .NET Framework 4 is there; undo leaves them.",
       {{"files", paths, required, "The assemblies, installed in this order."}},
       ofFiles<InstallDotNetAssemblyFiles>,
       {"rootPath"}},
      {"InstallationsRegistryCommand",
       "Records the installation in the machine's registry of installations; undo leaves the "
       "record. Acts when isServiceHostRequested.",
       {},
       withoutArguments<InstallationsRegistryCommand>,
       {"rootPath"}},
      {"LaunchCppMicroServicesCacheExecutable",
       "Runs the program that builds the component framework's manifest cache and waits for it; "
       "undo does nothing.",
       {{"executablePath", path, required, "The program."}},
       ofProgram<LaunchCppMicroServicesCacheExecutable>},
      {"LaunchFyroSettingsExecutable",
       "Starts the usage-data settings tool without waiting for it; undo does nothing. Acts when "
       "isUsageDataSettingsRequested.",
       {{"executablePath", path, required, "The tool."}},
       ofProgram<LaunchFyroSettingsExecutable>,
       {"rootPath"}},
      {"RegisterAutomationServer",
       "Has a module of the product register the product as a COM automation server; undo has it "
       "unregistered.",
       {{"moduleName", text, notEmpty, "File name of the module."},
        {"moduleFolder", path, required, "The folder that holds it."},
        {"serverArgument", text, optional, "A text for the module's entry point."}},
       automationServer},
      {"RegisterDlls",
       "Registers COM server DLLs with regsvr32; undo unregisters them.",
       {{"files", paths, required, "The DLLs, registered in this order."}},
       ofFiles<RegisterDlls>},
      {"SetFileAssociations",
       "Associates the product's file types with the installation; undo removes what is its own. "
       "Acts when isFileAssociationRequested.",
       {{"productCode", number, required, "Whose file types: 4, 8 or 16."}},
       fileAssociations,
       {"rootPath"}},
      {"SetRegistryKeys",
       "Stores text values in the registry; undo deletes the whole keys that hold them.",
       {{"registryKeys", registryKeys, required,
         "The values to store, in this order; at least one. Each is an object with root (the "
         "full name, such as HKEY_LOCAL_MACHINE), keyPath, valueName (empty: the key's default "
         "value) and value."}},
       setRegistryKeys},
      {"StartServices",
       "Has the Task Scheduler run an application at logon; undo stops and deletes the task. Acts "
       "when areScheduledServicesEnabled.",
       {{"taskName", text, notEmpty, "The task's name."},
        {"taskString2", text, optional, "The task's description."},
        {"applicationPath", path, required, "The application."},
        {"taskString5", text, optional, "The application's command line."},
        {"flag1", boolean, optional, "Kept, without effect."}},
       startServices,
       {"rootPath"}},
      {"UpdatePathEnvironmentVariable",
       "Puts a folder of the product into the machine's Path, before installations of the same "
       "age or older; undo takes it out.",
       {{"pathEntry", path, required, "The folder to find in the Path, normally one named bin."},
        {"productVersion", text, required,
         "The version being installed, such as 25.1.0.1, compared with that of the installations "
         "already in the Path."},
        {"executableName", text, required,
         "File name of the program whose file version tells an installation's version."}},
       updatePath},
  };
  return commands;
}

std::span<OptionDescription const> optionCatalogue() {
  static std::vector<OptionDescription> const options = {
      {"isDesktopShortcutRequested", &Values::desktopShortcutRequested,
       "Desktop shortcuts are made and removed only when true."},
      {"isSystemIntegrationSkipped", &Values::systemIntegrationSkipped,
       "When true, run changes nothing in Windows itself; undo is not affected."},
      {"isFileAssociationRequested", &Values::fileAssociationRequested,
       "File associations are set only when true."},
      {"isServiceHostRequested", &Values::serviceHostRequested,
       "The service host is set up and the installation recorded only when true."},
      {"isSettingsToolOptionSet", &Values::settingsToolOptionSet,
       "When true, the usage-data settings tool is given -c as well."},
      {"isUsageDataSettingsRequested", &Values::usageDataSettingsRequested,
       "The usage-data settings tool is started only when true."},
      {"isStartMenuShortcutRequested", &Values::startMenuShortcutRequested,
       "Start-menu shortcuts are made and removed only when true."},
      {"areScheduledServicesEnabled", &Values::scheduledServicesEnabled,
       "Tasks are scheduled and removed only when true."},
      {"rootPath", &Values::rootPath, "The product's installation root folder.", true},
      {"usageDataSettingsArgument", &Values::usageDataSettingsArgument,
       "What the usage-data settings tool is given after -i."},
      {"targetFolders", &Values::targetFolders,
       "For symbolic links: the link's path, and the folder of what it points to."},
      {"bundleRootPath", &Values::bundleRootPath,
       "The folder below which the component framework's bundles lie.", true},
      {"metadataRootPath", &Values::metadataRootPath,
       "The installation root as the metadata commands use it.", true},
  };
  return options;
}

std::span<RootDescription const> rootCatalogue() {
  using namespace install::postinstall;
  static constexpr std::array<RootDescription, 5> roots = {{
      {"HKEY_CLASSES_ROOT", classesRootKey},
      {"HKEY_CURRENT_USER", currentUserKey},
      {"HKEY_LOCAL_MACHINE", localMachineKey},
      {"HKEY_USERS", usersKey},
      {"HKEY_CURRENT_CONFIG", currentConfigKey},
  }};
  return roots;
}

std::string descriptionOf(CommandDescription const& command) {
  std::string text(command.description);
  for (std::string_view const name : command.neededOptions) {
    text += (name == command.neededOptions.front() ? " Needs " : " and ") + std::string(name);
  }
  return text + (command.neededOptions.empty() ? "" : ".");
}

std::string_view typeName(ArgumentType type) {
  switch (type) {
    case ArgumentType::text:
      return "text";
    case ArgumentType::path:
      return "absolute path";
    case ArgumentType::boolean:
      return "true or false";
    case ArgumentType::number:
      return "whole number from 0 to 4294967295";
    case ArgumentType::paths:
      return "list of absolute paths";
    case ArgumentType::registryKeys:
      return "list of registry values";
  }
  return {};
}

std::string_view typeName(OptionDescription const& option) {
  static constexpr std::array<std::string_view, 3> names = {"true or false", "text",
                                                            "object of path and folder"};
  return option.isPath ? typeName(ArgumentType::path) : names[option.field.index()];
}

}  // namespace regplan
