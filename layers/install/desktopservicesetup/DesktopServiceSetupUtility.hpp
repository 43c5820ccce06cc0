#pragma once

#include <string>

#include "fl/filesystem/path.hpp"

/// The setup of the maker's desktop service host, a service of the component framework.
namespace install::desktopservicesetup {

using fl::filesystem::Path;
using fl::i18n::UString;

/// How a step of the setup ended. Anything but 0 is a failure; the numbers reach the installation
/// log and stay as they are.
enum class DesktopServiceSetupResult : int {
  success = 0,
  packageMissing = 1,            ///< there is no package, or it cannot be read
  packageRefused = 2,            ///< a package that is damaged, hostile or not what it should be
  versionUnavailable = 3,        ///< what the latest version is could not be found out
  downloadFailed = 4,            ///< a server that did not deliver
  latestVersionException = 5,    ///< the command's: setting up the latest version threw
  shippedPackagesException = 6,  ///< the command's: setting up from the shipped packages threw
  downloadRefused = 7,        ///< what was downloaded has not the size or the hash announced for it
  filesNotWritten = 8,        ///< a file or folder could not be written, moved or removed
  serviceNotStopped = 9,      ///< the service to be replaced went on running
  serviceNotRegistered = 10,  ///< the service control manager refused the service
  serviceNotStarted = 11,     ///< the new service did not start
  failed = 12,                ///< anything else
};

/// What the setup can do, one step an operation. The order is part of the interface.
class DesktopServiceSetupUtility {
 public:
  virtual ~DesktopServiceSetupUtility() = default;

  /// Unpacks an installer package, a file of this name in `folder`, there.
  virtual DesktopServiceSetupResult unpackInstaller(Path const& folder,
                                                    UString const& packageName) = 0;

  /// Installs the service host from the unpacked installer and the service-host package in `source`
  /// into `target`, and starts it; one that is installed already is stopped and upgraded.
  /// `isShipped`: these packages came with the product; others must be the version that was
  /// announced when they were downloaded.
  virtual DesktopServiceSetupResult installServiceHost(Path const& source, Path const& target,
                                                       bool isShipped) = 0;

  /// Removes a folder that packages were downloaded to; nothing when it does not exist.
  virtual void removeSource(Path const& folder) = 0;

  /// Downloads the latest version's installer package, respectively its service-host package, to
  /// the temporary download folder of the installation in `installationRoot`.
  virtual DesktopServiceSetupResult downloadLatestInstaller(Path const& installationRoot) = 0;
  virtual DesktopServiceSetupResult downloadLatestPackage(Path const& installationRoot) = 0;

  /// Fills in the version of the package shipped in `installationRoot` and the latest published
  /// one; true when the shipped one is the latest. Throws when the latest cannot be found out.
  virtual bool queryVersions(Path const& installationRoot, std::string& shippedVersion,
                             std::string& latestVersion) = 0;
};

}  // namespace install::desktopservicesetup
