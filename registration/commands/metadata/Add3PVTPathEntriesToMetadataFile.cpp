#include "registration/commands/Add3PVTPathEntriesToMetadataFile.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/third_party_entries.hpp"

namespace registration::commands {

Add3PVTPathEntriesToMetadataFile::Add3PVTPathEntriesToMetadataFile(utility::Options const& given)
    : options(given) {}
Add3PVTPathEntriesToMetadataFile::Add3PVTPathEntriesToMetadataFile(
    Add3PVTPathEntriesToMetadataFile const&) = default;
Add3PVTPathEntriesToMetadataFile::~Add3PVTPathEntriesToMetadataFile() = default;

void Add3PVTPathEntriesToMetadataFile::execute() const {
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          UString(metadata::vortanPaths.unableToAdd),
                          [this] { add3PVTPathEntriesToMetadataFile(); });
}

void Add3PVTPathEntriesToMetadataFile::undo() const {
  Add3PVTPathEntriesToMetadataFile::execute();
}

void Add3PVTPathEntriesToMetadataFile::add3PVTPathEntriesToMetadataFile() const {
  UString const root = options.getMetadataRootPath();
  write3pVTPathEntriesToFile(root, getAll3pPathEntriesFromInstrSetMap(root));
}

void Add3PVTPathEntriesToMetadataFile::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void Add3PVTPathEntriesToMetadataFile::write3pVTPathEntriesToFile(
    UString const& root, std::vector<UString> const& entries) const {
  if (entries.empty()) {
    return;
  }
  Path const folder = Path(root).make_native();
  metadata::writeEntries(
      metadata::vortanPaths.writer, folder,
      [this](UString const& message) { log_message(message); }, entries,
      [&folder](UString const& entry) -> std::optional<UString> {
        auto const existing = metadata::lineIfItExists(entry);
        return existing ? std::optional(fl::filesystem::relative(entry, folder).ustring())
                        : std::nullopt;
      });
}

std::vector<UString> Add3PVTPathEntriesToMetadataFile::getAll3pPathEntriesFromInstrSetMap(
    UString const& root) const {
  return metadata::gatherPaths(
      metadata::vortanPaths, root, [this](UString const& message) { log_message(message); },
      [this] { return getInstrSetPostInstallUtilsInstance(); },
      &metadata::InstrSet::get_VortanPaths);
}

std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
Add3PVTPathEntriesToMetadataFile::getInstrSetPostInstallUtilsInstance() const {
  return std::make_unique<install::cppinstrset::InstrSetPostInstallUtils>();
}

}  // namespace registration::commands
