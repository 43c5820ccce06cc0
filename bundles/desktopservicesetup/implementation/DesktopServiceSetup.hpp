#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "install/cpputil/zip_archive.hpp"
#include "install/desktopservicesetup/DesktopServiceSetupUtility.hpp"
#include "machine/downloads.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;
using fl::i18n::UString;
using install::desktopservicesetup::DesktopServiceSetupResult;

/// How long the setup waits.
struct Patience {
  std::chrono::milliseconds service = std::chrono::seconds(30);  ///< to start, to stop
  std::chrono::milliseconds silence = std::chrono::seconds(30);  ///< a server's
  std::chrono::milliseconds download = std::chrono::minutes(30);
};

/// The setup on the current machine. An operation that fails leaves what was installed as it was,
/// logs why in a line that begins "Brantix Service Host setup: ", and ends with its result.
///
/// In a folder of packages there are, besides the packages:
///
///   installer/    the installer package, unpacked; its service.json tells how to run the host
///   servicehost/  the service host, unpacked (in the current root)
///   latest.json   the version document that downloaded packages were announced by
///
/// A service-host package carries its own version in version.txt, one line.
class DesktopServiceSetup final : public install::desktopservicesetup::DesktopServiceSetupUtility {
 public:
  explicit DesktopServiceSetup(Patience const& patience = {}) : patience_(patience) {}

  DesktopServiceSetupResult unpackInstaller(Path const& folder,
                                            UString const& packageName) override;
  DesktopServiceSetupResult installServiceHost(Path const& source, Path const& target,
                                               bool isShipped) override;
  void removeSource(Path const& folder) override;
  DesktopServiceSetupResult downloadLatestInstaller(Path const& installationRoot) override;
  DesktopServiceSetupResult downloadLatestPackage(Path const& installationRoot) override;
  bool queryVersions(Path const& installationRoot, std::string& shippedVersion,
                     std::string& latestVersion) override;

 private:
  void install(Path const& source, Path const& target, bool isShipped) const;
  machine::DownloadLimits limits() const;

  Patience patience_;
};

}  // namespace desktopservicesetup
