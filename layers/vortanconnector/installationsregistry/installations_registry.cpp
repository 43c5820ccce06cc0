#include "vortanconnector/installationsregistry/installations_registry.hpp"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/trouble.hpp"
#include "machine/machine.hpp"
#include "machine/whole_file.hpp"
#include "vortanconnector/installationsregistry/installation_records.hpp"
#include "vortanconnector/installationsregistry/registry_name.hpp"

namespace vortanconnector::installationsregistry {

namespace {

namespace trouble = install::cpputil::trouble;

constexpr std::chrono::seconds lockLimit(10);
// Some 50,000 records.
constexpr std::size_t largestFile = 8 << 20;

bool isWellFormed(UString const& text) {
  return fl::i18n::utf8_to_ustring(fl::i18n::ustring_to_utf8(text)) == text;
}

/// Everybody may make folders below ProgramData: somebody may have put a link there to have an
/// administrator's program write elsewhere.
void refuseLink(Path const& path) {
  auto const status = machine::current().files().status(path.ustring());
  if (status && status->isLink) {
    throw std::runtime_error(fl::i18n::ustring_to_utf8(path.ustring()) +
                             ": a link where the registry of installations should be");
  }
}

/// Whoever owns the folder, or may write there, decides what all records say.
Path madeFolder() {
  Path folder = machine::current().shell().knownFolder(machine::KnownFolder::programData);
  folder /= u"Brantix";
  refuseLink(folder);
  fl::filesystem::create_directories(folder);
  folder /= u"Installations";
  refuseLink(folder);
  auto const claim = machine::current().files().claimDirectory(folder.ustring());
  if (claim == machine::Claim::takenOver) {
    trouble::tell({trouble::severity::warning,
                   folder.ustring() + u": others could write here; now they can only read",
                   folder.ustring()});
  }
  return folder;
}

/// From the time when others could write in the folder.
void refuseFileOfOthers(Path const& file) {
  auto& files = machine::current().files();
  if (!files.status(file.ustring())) {
    return;
  }
  auto const access = files.foreignAccess(file.ustring());
  if (access.any()) {
    throw std::runtime_error(fl::i18n::ustring_to_utf8(file.ustring()) + " " +
                             machine::weaknessOf(access));
  }
}

/// nullopt when the root is recorded already.
std::optional<std::string> newContent(Path const& file, UString const& root) {
  auto const content = machine::readFile(machine::current().files(), file.ustring(), largestFile);
  std::string const now = machine::toIso8601(machine::current().clock().now());
  try {
    return withRecord(content, root, now);
  } catch (std::runtime_error const& error) {
    throw std::runtime_error(fl::i18n::ustring_to_utf8(file.ustring()) + ": " + error.what());
  }
}

void addRecord(Path const& file, UString const& root) {
  auto& files = machine::current().files();
  Path const lockFile = file.ustring() + u".lock";
  refuseLink(lockFile);
  auto const lock = files.lock(lockFile.ustring(), lockLimit);
  refuseLink(file);
  refuseFileOfOthers(file);
  if (auto const content = newContent(file, root)) {
    machine::replaceFile(files, file.ustring(), *content);
  }
}

}  // namespace

bool addVortanRecord(Path const& installationRoot, UString const& registryNameOverride) {
  UString const name =
      registryNameOverride.empty() ? UString(u"installations") : registryNameOverride;
  UString const root = normalizedRoot(installationRoot.ustring());
  if (!isRegistryName(name) || root.empty() || !isWellFormed(root)) {
    return false;
  }
  addRecord(madeFolder() / (name + u".json"), root);
  return true;
}

}  // namespace vortanconnector::installationsregistry
