#include "registration/utility/Options.hpp"

#include <utility>

namespace registration::utility {

Options::Options(Values values) : values_(std::move(values)) {}
Options::Options(Options const&) = default;
Options::~Options() = default;

bool Options::isDesktopShortcutRequested() const {
  return values_.desktopShortcutRequested;
}
bool Options::isSystemIntegrationSkipped() const {
  return values_.systemIntegrationSkipped;
}
bool Options::isFileAssociationRequested() const {
  return values_.fileAssociationRequested;
}
bool Options::isServiceHostRequested() const {
  return values_.serviceHostRequested;
}
bool Options::isSettingsToolOptionSet() const {
  return values_.settingsToolOptionSet;
}
bool Options::isUsageDataSettingsRequested() const {
  return values_.usageDataSettingsRequested;
}
bool Options::isStartMenuShortcutRequested() const {
  return values_.startMenuShortcutRequested;
}
bool Options::areScheduledServicesEnabled() const {
  return values_.scheduledServicesEnabled;
}
UString Options::getRootPath() const {
  return values_.rootPath;
}
UString Options::getUsageDataSettingsArgument() const {
  return values_.usageDataSettingsArgument;
}

UString Options::getTargetFolder(Path linkPath) const {
  auto const folder = values_.targetFolders.find(linkPath);
  return folder == values_.targetFolders.end() ? UString() : folder->second;
}

UString Options::getBundleRootPath() const {
  return values_.bundleRootPath;
}
UString Options::getMetadataRootPath() const {
  return values_.metadataRootPath;
}

}  // namespace registration::utility
