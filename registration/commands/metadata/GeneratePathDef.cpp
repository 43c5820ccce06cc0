#include "registration/commands/GeneratePathDef.hpp"

#include <memory>
#include <stdexcept>
#include <vector>

#include "Brantix/PathManagement/PathManagement.hpp"
#include "Brantix/VortanStorageSystem/VortanStorageSystem.hpp"
#include "fl/i18n/MessageCatalog.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "foundation/storage/vfs/File.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/start_bundles.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace paths = Brantix::PathManagement;
namespace vfs = foundation::storage::vfs;

namespace {

/// The catalog's key for a failure; null for those that it has no text for.
char const* messageKey(vfs::ErrorCode code) {
  switch (code) {
    case vfs::ErrorCode::invalidLocation:
      return "invalidLocation";
    case vfs::ErrorCode::permissionDenied:
      return "permissionDenied";
    case vfs::ErrorCode::resourceNotFound:
      return "resourceNotFound";
    case vfs::ErrorCode::readOnlyProvider:
      return "readOnlyProvider";
    case vfs::ErrorCode::fileTooLarge:
      return "fileTooLarge";
    case vfs::ErrorCode::resourceInUse:
      return "resourceInUse";
    case vfs::ErrorCode::noSpaceLeft:
      return "noSpaceLeft";
    case vfs::ErrorCode::ioError:
      return "ioError";
    case vfs::ErrorCode::unknownError:
      return "unknownError";
    case vfs::ErrorCode::resourceAlreadyExists:
    case vfs::ErrorCode::operationNotSupported:
    case vfs::ErrorCode::operationCancelled:
      break;
  }
  return nullptr;
}

UString messageFor(vfs::Exception const& failure) {
  char const* const key = messageKey(failure.getErrorCode());
  if (key == nullptr) {
    return u"Unexpected error code from vfs::Exception";
  }
  return fl::i18n::MessageCatalog::get_message(
      {"VORTAN:virtualfilesystem", key, {failure.getLocation()}}, fl::i18n::BxLocale::global());
}

/// What was passed over on the way, and is lost with the next definition file.
void tell(foundation::core::except::Notification const& notification) {
  for (auto const& warning : notification.warnings()) {
    utility::warn(warning.text(), warning.location);
  }
}

/// The entries of the old definition file, if there is one, then those derived from the
/// installation; each once.
std::vector<vfs::AbsoluteIRI> collectEntries(paths::IPathdefGenerator const& generator,
                                             vfs::StorageSystemReference const& storage) {
  auto const pathdefFile = generator.getPathdefFile();
  auto const toolboxFolder = generator.getToolboxFolder();
  foundation::core::except::Notification ofFile;
  std::vector<vfs::AbsoluteIRI> entries;
  if (vfs::File(pathdefFile, storage).fileExists()) {
    entries = generator.readEntries(pathdefFile, ofFile);
  }
  tell(ofFile);
  foundation::core::except::Notification ofFolders;
  auto const derived = generator.getDerivedEntries(toolboxFolder, ofFolders);
  tell(ofFolders);
  entries.insert(entries.end(), derived.begin(), derived.end());
  return paths::RemoveDuplicateIris(entries);
}

}  // namespace

GeneratePathDef::GeneratePathDef(utility::Options const& given) : options(given) {}
GeneratePathDef::GeneratePathDef(GeneratePathDef const&) = default;
// The options are copied: they have no other way to move.
GeneratePathDef::GeneratePathDef(GeneratePathDef&&) = default;
GeneratePathDef::~GeneratePathDef() = default;

void GeneratePathDef::execute() const {
  generate(u"Generating pathdef.vsc for ", u"Successfully generated pathdef.vsc for ");
}

void GeneratePathDef::undo() const {
  generate(u"Regenerating pathdef.vsc for ", u"Successfully regenerated pathdef.vsc for ");
}

void GeneratePathDef::generate(UString const& started, UString const& succeeded) const {
  try {
    log_message(started + options.getRootPath());
    generatePathDefFile();
    log_message(succeeded + options.getRootPath());
  } catch (vfs::Exception const& failure) {
    handleVfsException(failure);
  }
}

void GeneratePathDef::generatePathDefFile() const {
  loadVFSMicroServices();
  auto const generator = paths::CreatePathdefGenerator(getVortanRoot());
  auto const storage = Brantix::VortanStorageSystem::GetStorageSystemReference();
  auto entries = collectEntries(*generator, storage);
  std::erase_if(entries, [&](vfs::AbsoluteIRI const& entry) {
    return !vfs::Folder(entry, storage).folderExists();
  });
  generator->prepareOutput();
  generator->writeEntries(entries);
}

vfs::CanonicalAbsoluteIRI GeneratePathDef::getVortanRoot() const {
  return vfs::CanonicalAbsoluteIRI(paths::GetIRIFromString(options.getRootPath()), u"");
}

void GeneratePathDef::handleVfsException(vfs::Exception const& failure) const {
  utility::logTrouble([this](UString const& message) { log_message(message); },
                      u"Failed to generate pathdef.vsc for " + options.getRootPath() +
                          u". Error: " + messageFor(failure),
                      failure.getLocation());
}

void GeneratePathDef::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void GeneratePathDef::loadVFSMicroServices() const {
  try {
    startBundles(options, u"vfs");
  } catch (std::exception const& failure) {
    throw std::runtime_error(failure.what());
  }
}

}  // namespace registration::commands
