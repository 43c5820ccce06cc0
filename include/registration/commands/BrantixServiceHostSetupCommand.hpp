#pragma once

#include <memory>

#include "install/desktopservicesetup/DesktopServiceSetupUtility.hpp"
#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Installs the maker's desktop service host from the packages below the product's root, or, when
/// the feature `DownloadLatestBsh` is on and a newer one is published, from the newer one, which
/// then replaces the shipped packages. The work is a service's of the component framework; this
/// command has the order, the fallback and the log lines. undo does nothing: the service host
/// outlives the product.
///
/// The product's setup service keeps others off the machine from its first operation to its last,
/// so that two setups do not undo each other.
///
/// execute is divided into three guarded regions:
///
///   1. Obtaining the setup service, startService to getServicePointer. A std::exception is logged
///      and ends the call; nothing was attempted, so nothing is removed.
///   2. Everything about the latest version: feature, version query, its log lines, download and
///      installation. An exception of any type is logged, and the shipped packages are installed.
///   3. Installing the shipped packages, and removing the download folder. A std::exception is
///      logged and ends the call.
///
/// So the download folder is handed to the service for removal after every attempt that ended with
/// a result code, and also when the latest version ended with an exception. An exception of another
/// type passes through regions 1 and 3, and whatever logging a failure throws through all of them.
class REGISTRATION_API BrantixServiceHostSetupCommand : public utility::Command {
 public:
  explicit BrantixServiceHostSetupCommand(utility::Options const& options);
  BrantixServiceHostSetupCommand(BrantixServiceHostSetupCommand const&);
  BrantixServiceHostSetupCommand(BrantixServiceHostSetupCommand&&);
  ~BrantixServiceHostSetupCommand() override;

  void execute() const override;
  void undo() const override;

 protected:
  using DesktopServiceSetupUtility = install::desktopservicesetup::DesktopServiceSetupUtility;
  using DesktopServiceSetupResult = install::desktopservicesetup::DesktopServiceSetupResult;

  virtual void log_message(UString const& message) const;
  /// Installs and starts the bundle that provides the setup service.
  virtual void startService() const;
  /// The setup service that the framework ranks first. Throws std::runtime_error when there is
  /// none.
  virtual std::shared_ptr<DesktopServiceSetupUtility> getServicePointer() const;
  virtual void removeBrantixServiceHostSource(std::shared_ptr<DesktopServiceSetupUtility> service,
                                              Path const& folder) const;

 private:
  std::shared_ptr<DesktopServiceSetupUtility> obtainService() const;
  void install(std::shared_ptr<DesktopServiceSetupUtility> const& service) const;
  bool installLatest(std::shared_ptr<DesktopServiceSetupUtility> const& service) const;
  bool isShippedLatest(std::shared_ptr<DesktopServiceSetupUtility> const& service) const;
  void installShipped(std::shared_ptr<DesktopServiceSetupUtility> const& service) const;

  void reportFailure(UString const& line) const;
  Path bundleFolder() const;

  bool shouldDownloadLatestBsh() const;
  DesktopServiceSetupResult downloadAndInstallLatestBsh(
      std::shared_ptr<DesktopServiceSetupUtility> service, UString const& serviceHostRoot) const;
  DesktopServiceSetupResult installBshUsingShippedPackages(
      std::shared_ptr<DesktopServiceSetupUtility> service, UString const& serviceHostRoot) const;
  void replaceShippedBshPackageByLatestBsh() const;
  void replaceShippedPackage(Path const& downloaded, Path const& shipped) const;

  Path getBrantixServiceHostCurrentRoot() const;
  Path getBrantixServiceHostTempDownloadRoot() const;
  Path getDownloadedBshInstallerZipFilePath() const;
  Path getDownloadedBshPkgZipFilePath() const;
  /// The first entry of the folder whose name ends in ".zip"; empty when there is none.
  UString getDownloadedBshInstallerOrPkgZipName(Path const& folder) const;

  utility::Options options;
};

}  // namespace registration::commands
