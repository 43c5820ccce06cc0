#include "tools/regplan/catalogue.hpp"

#include <array>

#include "install/postinstall/RegistryUtil.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/UpdatePathEnvironmentVariable.hpp"

namespace regplan {
namespace {

using namespace registration::commands;
using Values = Options::Values;

template <typename C>
std::unique_ptr<Command const> withoutArguments(Options const& options, Arguments const&) {
  return std::make_unique<C>(options);
}

std::unique_ptr<Command const> setRegistryKeys(Options const& options, Arguments const& given) {
  return std::make_unique<SetRegistryKeys>(
      options, given.get<std::list<registryKey>>("registryKeys"), RegistryUtil::getRegistryUtil());
}

std::unique_ptr<Command const> updatePath(Options const& options, Arguments const& given) {
  return std::make_unique<UpdatePathEnvironmentVariable>(options, given.get<UString>("pathEntry"),
                                                         given.get<UString>("productVersion"),
                                                         given.get<UString>("executableName"));
}

}  // namespace

std::span<CommandDescription const> commandCatalogue() {
  using enum ArgumentType;
  constexpr bool required = true;
  static std::vector<CommandDescription> const commands = {
      {"AddVTPathEntriesToMetadataFile",
       "Writes the search-path folders that the PHL files below the metadata root name into "
       "ssiSearchFolders; undo does the same with the files that are there then.",
       {},
       withoutArguments<AddVTPathEntriesToMetadataFile>},
      {"SetRegistryKeys",
       "Stores text values in the registry; undo deletes the whole keys that hold them.",
       {{"registryKeys", registryKeys, required,
         "The values to store, in this order; at least one. Each is an object with root (the "
         "full name, such as HKEY_LOCAL_MACHINE), keyPath, valueName (empty: the key's default "
         "value) and value."}},
       setRegistryKeys},
      {"UpdatePathEnvironmentVariable",
       "Puts a folder of the product into the machine's Path, before installations of the same "
       "age or older; undo takes it out.",
       {{"pathEntry", text, required, "The folder to find in the Path, normally one named bin."},
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
      {"rootPath", &Values::rootPath, "The product's installation root folder."},
      {"usageDataSettingsArgument", &Values::usageDataSettingsArgument,
       "What the usage-data settings tool is given after -i."},
      {"targetFolders", &Values::targetFolders,
       "For symbolic links: the link's path, and the folder of what it points to."},
      {"bundleRootPath", &Values::bundleRootPath,
       "The folder below which the component framework's bundles lie."},
      {"metadataRootPath", &Values::metadataRootPath,
       "The installation root as the metadata commands use it."},
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

std::string_view typeName(ArgumentType type) {
  switch (type) {
    case ArgumentType::text:
      return "text";
    case ArgumentType::path:
      return "path";
    case ArgumentType::boolean:
      return "true or false";
    case ArgumentType::number:
      return "whole number from 0 to 4294967295";
    case ArgumentType::paths:
      return "list of paths";
    case ArgumentType::registryKeys:
      return "list of registry values";
  }
  return {};
}

std::string_view typeName(OptionDescription const& option) {
  static constexpr std::array<std::string_view, 3> names = {"true or false", "text",
                                                            "object of path and folder"};
  return names[option.field.index()];
}

}  // namespace regplan
