#include "registration/commands/BrantixServiceHostSetupCommand.hpp"

#include <stdexcept>
#include <string>

#include "fl/filesystem/operations.hpp"
#include "foundation/cppmicroservices/framework.hpp"
#include "foundation/feature/feature.hpp"
#include "install/cpputil/logger.hpp"
#include "install/desktopservicesetup/layout.hpp"
#include "registration/commands/component_service.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

namespace layout = install::desktopservicesetup;
using Result = layout::DesktopServiceSetupResult;

UString codeOf(Result result) {
  return fl::i18n::to_ustring(std::to_string(static_cast<int>(result)));
}

/// A step of the latest version's setup that failed, whose result this hands back: the log passes
/// over it, and the shipped packages are installed.
Result latestFailed(char16_t const* step, Result result) {
  UString const name = u"the latest version of Brantix Service Host";
  utility::warn(name + u" was not installed, but the shipped one: " + step +
                    u" ended with error code " + codeOf(result),
                name);
  return result;
}

}  // namespace

BrantixServiceHostSetupCommand::BrantixServiceHostSetupCommand(utility::Options const& given)
    : options(given) {}
BrantixServiceHostSetupCommand::BrantixServiceHostSetupCommand(
    BrantixServiceHostSetupCommand const&) = default;
// The options are copied: they have no other way to move.
BrantixServiceHostSetupCommand::BrantixServiceHostSetupCommand(BrantixServiceHostSetupCommand&&) =
    default;
BrantixServiceHostSetupCommand::~BrantixServiceHostSetupCommand() = default;

void BrantixServiceHostSetupCommand::execute() const {
  if (utility::skippedBy(u"isServiceHostRequested", options.isServiceHostRequested(), false)) {
    return;
  }
  if (auto const service = obtainService()) {
    install(service);
  }
}

void BrantixServiceHostSetupCommand::undo() const {
  utility::skipped(u"the service host stays", {});
}

/// Region 1. Null when it failed.
std::shared_ptr<BrantixServiceHostSetupCommand::DesktopServiceSetupUtility>
BrantixServiceHostSetupCommand::obtainService() const {
  try {
    startService();
    if (auto service = getServicePointer()) {
      return service;
    }
    throw std::runtime_error("the service pointer is empty");
  } catch (std::exception const& failure) {
    // The one message that goes to the log in UTF-8, and so past log_message.
    std::string const line =
        std::string("Failed to get Brantix Service Host utility service pointer: ") +
        failure.what();
    utility::logTrouble([&](UString const&) { install::cpputil::logger::append_message(line); },
                        fl::i18n::utf8_to_ustring(line), bundleFolder().ustring());
    return nullptr;
  }
}

void BrantixServiceHostSetupCommand::install(
    std::shared_ptr<DesktopServiceSetupUtility> const& service) const {
  log_message(u"Installing Brantix Service Host");
  bool const hasLatest = installLatest(service);
  utility::reportingFailure(
      [&] {
        if (!hasLatest) {
          installShipped(service);
        }
        removeBrantixServiceHostSource(service, getBrantixServiceHostTempDownloadRoot());
      },
      [this](UString const& text) {
        reportFailure(u"Failed to install Brantix Service Host with exception: " + text);
      });
}

/// Region 2. True when the latest version was downloaded and installed.
bool BrantixServiceHostSetupCommand::installLatest(
    std::shared_ptr<DesktopServiceSetupUtility> const& service) const {
  auto const report = [this](UString const& cause) {
    utility::logTrouble([this](UString const& line) { log_message(line); },
                        u"Failed to connect to Brantix Service Host latest version web service", {},
                        cause);
    return false;
  };
  try {
    return shouldDownloadLatestBsh() && !isShippedLatest(service) &&
           downloadAndInstallLatestBsh(service, getBrantixServiceHostCurrentRoot().ustring()) ==
               Result::success;
  } catch (std::exception const& failure) {
    return report(fl::i18n::utf8_to_ustring(failure.what()));
  } catch (...) {
    return report(u"an exception that is no std::exception");
  }
}

bool BrantixServiceHostSetupCommand::isShippedLatest(
    std::shared_ptr<DesktopServiceSetupUtility> const& service) const {
  std::string shipped;
  std::string latest;
  if (service->queryVersions(Path(options.getRootPath()), shipped, latest)) {
    return true;
  }
  log_message(u"The shipped Brantix Service Host package is not latest version");
  log_message(u"Shipped Brantix Service Host version: " + fl::i18n::to_ustring(shipped));
  log_message(u"Latest Brantix Service Host version: " + fl::i18n::to_ustring(latest));
  return false;
}

void BrantixServiceHostSetupCommand::installShipped(
    std::shared_ptr<DesktopServiceSetupUtility> const& service) const {
  Result const result =
      installBshUsingShippedPackages(service, getBrantixServiceHostCurrentRoot().ustring());
  if (result != Result::success) {
    reportFailure(u"Failed to install Brantix Service Host with error code: " + codeOf(result));
  }
}

/// Logs that something of the service host was not done.
void BrantixServiceHostSetupCommand::reportFailure(UString const& line) const {
  utility::logTrouble([this](UString const& text) { log_message(text); }, line,
                      getBrantixServiceHostCurrentRoot().ustring());
}

void BrantixServiceHostSetupCommand::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void BrantixServiceHostSetupCommand::startService() const {
  foundation::cppmicroservices::installAndStart(bundleFolder());
}

Path BrantixServiceHostSetupCommand::bundleFolder() const {
  return Path(options.getRootPath()) / u"bin" / u"win64" / u"desktopservicesetup" / u"install" /
         u"desktopservicesetup" / u"implementation";
}

std::shared_ptr<BrantixServiceHostSetupCommand::DesktopServiceSetupUtility>
BrantixServiceHostSetupCommand::getServicePointer() const {
  return componentService<DesktopServiceSetupUtility>();
}

void BrantixServiceHostSetupCommand::removeBrantixServiceHostSource(
    std::shared_ptr<DesktopServiceSetupUtility> service, Path const& folder) const {
  service->removeSource(folder);
}

bool BrantixServiceHostSetupCommand::shouldDownloadLatestBsh() const {
  static foundation::feature::Feature const feature(u"DownloadLatestBsh");
  foundation::feature::IFeature const& downloadLatest = feature;
  return downloadLatest.get() != 0;
}

Result BrantixServiceHostSetupCommand::downloadAndInstallLatestBsh(
    std::shared_ptr<DesktopServiceSetupUtility> service, UString const& serviceHostRoot) const {
  try {
    Path const root(options.getRootPath());
    Path const source = getBrantixServiceHostTempDownloadRoot();

    log_message(u"Downloading the latest version of Brantix Service Host Installer");
    Result result = service->downloadLatestInstaller(root);
    if (result != Result::success) {
      return latestFailed(u"downloading its installer", result);
    }
    log_message(u"Completed downloading the latest version of Brantix Service Host Installer");
    result = service->unpackInstaller(source, getDownloadedBshInstallerOrPkgZipName(source));
    if (result != Result::success) {
      return latestFailed(u"unpacking its installer", result);
    }
    log_message(u"Downloading the latest version of Brantix Service Host");
    result = service->downloadLatestPackage(root);
    if (result != Result::success) {
      return latestFailed(u"downloading its package", result);
    }
    log_message(u"Completed downloading the latest version of Brantix Service Host");
    result = service->installServiceHost(source, Path(serviceHostRoot), false);
    if (result != Result::success) {
      return latestFailed(u"installing its package", result);
    }
    log_message(u"Completed installing the latest version of Brantix Service Host");
    replaceShippedBshPackageByLatestBsh();
    return Result::success;
  } catch (std::exception const& failure) {
    reportFailure(
        u"Failed to download and install the latest version of Brantix Service Host with "
        u"exception: " +
        fl::i18n::utf8_to_ustring(failure.what()));
    return Result::latestVersionException;
  }
}

Result BrantixServiceHostSetupCommand::installBshUsingShippedPackages(
    std::shared_ptr<DesktopServiceSetupUtility> service, UString const& serviceHostRoot) const {
  try {
    Path const root(serviceHostRoot);
    Result result = service->unpackInstaller(root, layout::installerPackageName);
    if (result == Result::success) {
      result = service->installServiceHost(root, root, true);
    }
    if (result == Result::success) {
      log_message(u"Completed installing Brantix Service Host from shipped packages");
    }
    return result;
  } catch (std::exception const& failure) {
    reportFailure(
        u"Failed to install the Brantix Service Host from shipped packages with exception: " +
        fl::i18n::utf8_to_ustring(failure.what()));
    return Result::shippedPackagesException;
  }
}

void BrantixServiceHostSetupCommand::replaceShippedBshPackageByLatestBsh() const {
  Path const root = getBrantixServiceHostCurrentRoot();
  replaceShippedPackage(getDownloadedBshInstallerZipFilePath(), layout::installerPackage(root));
  replaceShippedPackage(getDownloadedBshPkgZipFilePath(), layout::serviceHostPackage(root));
}

void BrantixServiceHostSetupCommand::replaceShippedPackage(Path const& downloaded,
                                                           Path const& shipped) const {
  try {
    // Where no package was found, the path is that of the folder searched.
    if (fl::filesystem::exists(downloaded) && !fl::filesystem::is_directory(downloaded)) {
      fl::filesystem::rename(downloaded.ustring(), shipped.ustring(),
                             fl::filesystem::rename_options::replace_existing);
    }
  } catch (std::exception const& failure) {
    utility::logTrouble(
        [this](UString const& line) { log_message(line); },
        u"Failed to overwrite the shipped Brantix Service Host package with the latest downloaded "
        u"package",
        shipped.ustring(), fl::i18n::utf8_to_ustring(failure.what()));
  }
}

Path BrantixServiceHostSetupCommand::getBrantixServiceHostCurrentRoot() const {
  return layout::currentRoot(options.getRootPath());
}

Path BrantixServiceHostSetupCommand::getBrantixServiceHostTempDownloadRoot() const {
  return layout::temporaryDownloadRoot(options.getRootPath());
}

Path BrantixServiceHostSetupCommand::getDownloadedBshInstallerZipFilePath() const {
  Path const folder = getBrantixServiceHostTempDownloadRoot();
  return folder / getDownloadedBshInstallerOrPkgZipName(folder);
}

Path BrantixServiceHostSetupCommand::getDownloadedBshPkgZipFilePath() const {
  Path const folder = layout::packageFolder(getBrantixServiceHostTempDownloadRoot());
  return folder / getDownloadedBshInstallerOrPkgZipName(folder);
}

UString BrantixServiceHostSetupCommand::getDownloadedBshInstallerOrPkgZipName(
    Path const& folder) const {
  if (!fl::filesystem::exists(folder)) {
    return {};
  }
  for (UString const& name : fl::filesystem::entry_names(folder)) {
    if (name.ends_with(u".zip")) {
      return name;
    }
  }
  return {};
}

}  // namespace registration::commands
