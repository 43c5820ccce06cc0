#pragma once

#include "fl/filesystem/path.hpp"

/// Where the service host's files lie in an installation. A folder that packages are downloaded to
/// is laid out as the current root.
///
///   sys/bxds/win64/                         current root
///     zci.zip                               installer package
///     packages/win64/brantixservicehost.zip service-host package
///     _tempinstaller_win64/                 temporary download root
namespace install::desktopservicesetup {

using fl::filesystem::Path;

inline Path currentRoot(Path const& installationRoot) {
  return installationRoot / u"sys" / u"bxds" / u"win64";
}

inline Path temporaryDownloadRoot(Path const& installationRoot) {
  return currentRoot(installationRoot) / u"_tempinstaller_win64";
}

inline constexpr char16_t const* installerPackageName = u"zci.zip";

inline Path installerPackage(Path const& root) {
  return root / installerPackageName;
}

inline Path packageFolder(Path const& root) {
  return root / u"packages" / u"win64";
}

inline Path serviceHostPackage(Path const& root) {
  return packageFolder(root) / u"brantixservicehost.zip";
}

}  // namespace install::desktopservicesetup
