#pragma once

#include <map>

#include "machine/api.hpp"
#include "registration/utility/types.hpp"

namespace registration::utility {

/// What the installer knows before it builds its first command, filled once and then fixed. A
/// concrete value: every command keeps its own copy, so a class derived from it would be sliced.
class REGISTRATION_API Options {
 public:
  /// One field for each getter below. A flag left alone is false, a text empty.
  struct Values {
    bool desktopShortcutRequested = false;
    bool systemIntegrationSkipped = false;
    bool fileAssociationRequested = false;
    bool serviceHostRequested = false;
    bool settingsToolOptionSet = false;
    bool usageDataSettingsRequested = false;
    bool startMenuShortcutRequested = false;
    bool scheduledServicesEnabled = false;
    UString rootPath;
    UString usageDataSettingsArgument;
    std::map<Path, UString> targetFolders;  ///< link path -> folder of its target
    UString bundleRootPath;
    UString metadataRootPath;
  };

  explicit Options(Values values);
  Options(Options const&);
  Options& operator=(Options const&) = delete;
  virtual ~Options();

  virtual bool isDesktopShortcutRequested() const;
  /// When true, the execute of every command that changes Windows state does nothing.
  virtual bool isSystemIntegrationSkipped() const;
  virtual bool isFileAssociationRequested() const;
  virtual bool isServiceHostRequested() const;
  /// Adds "-c" to the settings tool's command line.
  virtual bool isSettingsToolOptionSet() const;
  virtual bool isUsageDataSettingsRequested() const;
  virtual bool isStartMenuShortcutRequested() const;
  virtual bool areScheduledServicesEnabled() const;
  /// The product's installation root folder.
  virtual UString getRootPath() const;
  /// What the settings tool is given after "-i".
  virtual UString getUsageDataSettingsArgument() const;
  /// The folder in which the target of this link path lies; empty for a link path not listed.
  virtual UString getTargetFolder(Path linkPath) const;
  /// The folder below which the component framework's bundles lie.
  virtual UString getBundleRootPath() const;
  /// The installation root as the metadata commands use it.
  virtual UString getMetadataRootPath() const;

 private:
  Values values_;
};

}  // namespace registration::utility
