#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "bundles/desktopservicesetup/implementation/version_document.hpp"
#include "install/cpputil/machine_lock.hpp"
#include "install/desktopservicesetup/DesktopServiceSetupUtility.hpp"
#include "machine/downloads.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;
using fl::i18n::UString;
using install::desktopservicesetup::DesktopServiceSetupResult;

/// How long the setup waits at most.
struct Timeouts {
  std::chrono::milliseconds service = std::chrono::seconds(30);  ///< to start, to stop
  /// Of a package's download: each time that nothing comes, and in all.
  std::chrono::milliseconds packageIdle = std::chrono::seconds(30);
  std::chrono::milliseconds package = std::chrono::minutes(30);
  /// Of the version document's, which is small.
  std::chrono::milliseconds documentIdle = std::chrono::seconds(5);
  std::chrono::milliseconds document = std::chrono::seconds(15);
};

/// The setup on the current machine. An operation that fails leaves what was installed as it was,
/// logs why in a line that begins "Brantix Service Host setup: ", tells that as trouble, and ends
/// with its result.
///
/// It holds the machine's lock from its first operation to the end of removeSource, the last one:
/// two setups at once would each take away what the other one is about to start. An operation that
/// cannot have the lock fails.
///
/// In a folder of packages there are, besides the packages:
///
///   installer/    the installer package, unpacked; its service.json tells how to run the host
///   servicehost/  the service host, unpacked (in the current root)
///
/// A service-host package carries its own version in version.txt, one line.
///
/// Others may be able to write where packages lie. The version document is fetched once for all
/// operations up to removeSource, and kept in memory. A package is opened once; a downloaded one
/// must have the document's size and hash when it is unpacked, not only when it comes.
class DesktopServiceSetup final : public install::desktopservicesetup::DesktopServiceSetupUtility {
 public:
  explicit DesktopServiceSetup(Timeouts const& timeouts = {}) : timeouts_(timeouts) {}

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
  /// What was downloaded since the last removeSource.
  struct Announcement {
    Path folder;  ///< where to
    VersionDocument document;
  };

  void install(Path const& source, Path const& target, bool isShipped) const;
  VersionDocument latest(Path const& installationRoot);
  /// The announcement of what was downloaded to `folder`. Throws SetupFailure (versionUnavailable)
  /// when nothing was.
  VersionDocument const& announced(Path const& folder) const;
  bool wasDownloadedTo(Path const& folder) const;
  /// Keeps others off the machine up to the end of removeSource. Throws as machine_lock does.
  void holdMachine();
  machine::DownloadLimits packageLimits() const;
  machine::DownloadLimits documentLimits() const;

  Timeouts timeouts_;
  std::optional<install::cpputil::machine_lock> lock_;
  /// What queryVersions fetched for an installation, until it is downloaded.
  std::optional<std::pair<Path, VersionDocument>> fetched_;
  std::optional<Announcement> announcement_;
};

}  // namespace desktopservicesetup
