#include "bundles/desktopservicesetup/implementation/DesktopServiceSetup.hpp"

#include "bundles/desktopservicesetup/implementation/download.hpp"
#include "bundles/desktopservicesetup/implementation/folder_replacement.hpp"
#include "bundles/desktopservicesetup/implementation/package.hpp"
#include "bundles/desktopservicesetup/implementation/service_host.hpp"
#include "bundles/desktopservicesetup/implementation/setup_failure.hpp"
#include "bundles/desktopservicesetup/implementation/text_files.hpp"
#include "fl/filesystem/operations.hpp"
#include "install/cpputil/versions.hpp"
#include "install/desktopservicesetup/layout.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace desktopservicesetup {

using install::cpputil::zip_archive;
using Result = DesktopServiceSetupResult;
namespace layout = install::desktopservicesetup;

namespace {

constexpr std::size_t largestDocument = 64 << 10;
constexpr std::uint32_t largestVersionFile = 256;

/// The operation's result; why it failed is logged.
template <typename Step>
Result resultOf(Step&& step) {
  try {
    during(Result::failed, step);
    return Result::success;
  } catch (SetupFailure const& failure) {
    reportFailure(failure.what());
    return failure.result();
  }
}

Path installerFolder(Path const& folder) {
  return folder / u"installer";
}

std::string nameOf(Path const& file) {
  return fl::i18n::ustring_to_utf8(file.ustring());
}

/// `file`: the package's.
std::string versionOf(zip_archive& package, Path const& file) {
  std::string version = package.read("version.txt", largestVersionFile);
  version.erase(version.find_last_not_of("\r\n") + 1);
  if (!isVersion(version)) {
    throw SetupFailure(Result::packageRefused, nameOf(file) + ": version.txt holds no version");
  }
  return version;
}

int compare(std::string const& a, std::string const& b) {
  return install::cpputil::compareVersions(fl::i18n::to_ustring(a), fl::i18n::to_ustring(b));
}

/// A server may hold a package of another version than the one it announces, an older one too.
void requireAnnouncedVersion(zip_archive& package, Path const& file, std::string const& expected) {
  std::string const version = versionOf(package, file);
  if (compare(version, expected) != 0) {
    throw SetupFailure(Result::packageRefused, nameOf(file) + " is version " + version +
                                                   ", but version " + expected + " was announced");
  }
}

/// Whether both are the same text but for case and the way to write it.
bool isSameFolder(Path const& a, Path const& b) {
  auto const here = machine::current().files().currentDirectory();
  return machine::equalIgnoringCase(machine::path_grammar::absolute(a.ustring(), here),
                                    machine::path_grammar::absolute(b.ustring(), here));
}

ServiceHost readServiceHost(Path const& source) {
  return during(Result::packageRefused, [&] {
    Path const file = installerFolder(source) / u"service.json";
    return parseServiceHost(nameOf(file), readText(file, largestDocument));
  });
}

/// `package`: what was unpacked to `folder`.
void requireProgram(ServiceHost const& host, Path const& folder, Path const& package) {
  Path const program = folder / host.program;
  if (!fl::filesystem::exists(program) || fl::filesystem::is_directory(program)) {
    throw SetupFailure(Result::packageRefused,
                       nameOf(package) + " lacks the program " + nameOf(host.program));
  }
}

/// Replaces files and service together: either both are the new ones in the end, or the old ones.
void replace(FolderReplacement& files, machine::ServiceDefinition const& definition,
             std::chrono::milliseconds timeout) {
  auto service = during(Result::serviceNotRegistered, [&] { return ServiceReplacement(timeout); });
  try {
    during(Result::serviceNotStopped, [&] { service.stopOld(); });
    during(Result::filesNotWritten, [&] { files.exchange(); });
    during(Result::serviceNotRegistered, [&] { service.registerNew(definition); });
    during(Result::serviceNotStarted, [&] { service.startNew(); });
  } catch (...) {
    service.stopNew();
    files.takeBack();
    service.takeBack();
    throw;
  }
  files.keep();
}

}  // namespace

Result DesktopServiceSetup::unpackInstaller(Path const& folder, UString const& packageName) {
  return resultOf([&] {
    holdMachine();
    if (packageName.empty()) {
      throw SetupFailure(Result::packageMissing,
                         "there is no installer package in " + nameOf(folder));
    }
    auto const* const expected = wasDownloadedTo(folder) ? &announced(folder).installer : nullptr;
    auto const package = openPackage(folder / packageName, expected);
    during(Result::filesNotWritten, [&] {
      FolderReplacement replacement(installerFolder(folder));
      package->extract(replacement.staging());
      replacement.exchange();
      replacement.keep();
    });
  });
}

Result DesktopServiceSetup::installServiceHost(Path const& source, Path const& target,
                                               bool isShipped) {
  return resultOf([&] {
    holdMachine();
    install(source, target, isShipped);
  });
}

void DesktopServiceSetup::install(Path const& source, Path const& target, bool isShipped) const {
  if (!machine::path_grammar::isAbsolute(target.ustring())) {
    throw SetupFailure(Result::filesNotWritten,
                       "the folder to install to is not absolute: " + nameOf(target));
  }
  ServiceHost const host = readServiceHost(source);
  Path const packageFile = layout::serviceHostPackage(source);
  auto const* const latest = isShipped ? nullptr : &announced(source);
  auto const package = openPackage(packageFile, latest ? &latest->package : nullptr);
  if (latest) {
    requireAnnouncedVersion(*package, packageFile, latest->serviceHostVersion);
  }
  Path const folder = target / u"servicehost";
  during(Result::filesNotWritten, [&] {
    FolderReplacement files(folder);
    package->extract(files.staging());
    requireProgram(host, files.staging(), packageFile);
    replace(files, serviceFor(host, folder), timeouts_.service);
  });
}

void DesktopServiceSetup::removeSource(Path const& folder) {
  resultOf([&] {
    holdMachine();
    fl::filesystem::remove_all(folder);
  });
  fetched_.reset();
  announcement_.reset();
  lock_.reset();
}

Result DesktopServiceSetup::downloadLatestInstaller(Path const& installationRoot) {
  return resultOf([&] {
    holdMachine();
    Path const folder = layout::temporaryDownloadRoot(installationRoot);
    announcement_.reset();
    auto document = latest(installationRoot);
    during(Result::filesNotWritten, [&] {
      fl::filesystem::remove_all(folder);
      fl::filesystem::create_directories(folder);
    });
    downloadTo(layout::installerPackage(folder), document.installer, packageLimits());
    // Whatever is published meanwhile, the package will be the one that goes with this installer.
    announcement_ = {folder, std::move(document)};
  });
}

Result DesktopServiceSetup::downloadLatestPackage(Path const& installationRoot) {
  return resultOf([&] {
    holdMachine();
    Path const folder = layout::temporaryDownloadRoot(installationRoot);
    downloadTo(layout::serviceHostPackage(folder), announced(folder).package, packageLimits());
  });
}

bool DesktopServiceSetup::queryVersions(Path const& installationRoot, std::string& shippedVersion,
                                        std::string& latestVersion) {
  holdMachine();
  // Without a sound package there is no shipped version, and any published one is newer.
  shippedVersion.clear();
  resultOf([&] {
    Path const file = layout::serviceHostPackage(layout::currentRoot(installationRoot));
    shippedVersion = versionOf(*openPackage(file, nullptr), file);
  });
  fetched_.reset();
  fetched_ = {installationRoot, fetchVersionDocument(installationRoot, documentLimits())};
  latestVersion = fetched_->second.serviceHostVersion;
  return compare(shippedVersion, latestVersion) >= 0;
}

/// The one that queryVersions decided by, else the one published now.
VersionDocument DesktopServiceSetup::latest(Path const& installationRoot) {
  auto const fetched = std::exchange(fetched_, std::nullopt);
  if (fetched && isSameFolder(fetched->first, installationRoot)) {
    return fetched->second;
  }
  return during(Result::versionUnavailable,
                [&] { return fetchVersionDocument(installationRoot, documentLimits()); });
}

VersionDocument const& DesktopServiceSetup::announced(Path const& folder) const {
  if (!wasDownloadedTo(folder)) {
    throw SetupFailure(Result::versionUnavailable, "nothing was downloaded to " + nameOf(folder));
  }
  return announcement_->document;
}

bool DesktopServiceSetup::wasDownloadedTo(Path const& folder) const {
  return announcement_ && isSameFolder(announcement_->folder, folder);
}

void DesktopServiceSetup::holdMachine() {
  if (!lock_) {
    lock_.emplace();
  }
}

machine::DownloadLimits DesktopServiceSetup::packageLimits() const {
  return {0, timeouts_.packageIdle, timeouts_.package};
}

machine::DownloadLimits DesktopServiceSetup::documentLimits() const {
  return {0, timeouts_.documentIdle, timeouts_.document};
}

}  // namespace desktopservicesetup
