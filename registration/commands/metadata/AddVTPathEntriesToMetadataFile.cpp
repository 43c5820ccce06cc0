#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/list_files.hpp"

namespace registration::commands {

AddVTPathEntriesToMetadataFile::AddVTPathEntriesToMetadataFile(utility::Options const& given)
    : options(given) {}
AddVTPathEntriesToMetadataFile::AddVTPathEntriesToMetadataFile(
    AddVTPathEntriesToMetadataFile const&) = default;
AddVTPathEntriesToMetadataFile::~AddVTPathEntriesToMetadataFile() = default;

void AddVTPathEntriesToMetadataFile::execute() const {
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          u"Unable to add path entries to metadata file",
                          [this] {
                            log_message(u"Adding path entries to metadata file");
                            addVTPathEntriesToMetadataFile();
                            log_message(u"Successfully added path entries to metadata file");
                          });
}

void AddVTPathEntriesToMetadataFile::undo() const {
  AddVTPathEntriesToMetadataFile::execute();
}

void AddVTPathEntriesToMetadataFile::addVTPathEntriesToMetadataFile() const {
  Path const root = Path(options.getMetadataRootPath()).make_native();
  writePathEntriesToFile(root, readAllPhlFiles(getAllPhlFiles(root)));
}

void AddVTPathEntriesToMetadataFile::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void AddVTPathEntriesToMetadataFile::writePathEntriesToFile(
    Path const& root, std::set<UString> const& entries) const {
  metadata::writeEntries(
      metadata::searchFolders, root, [this](UString const& message) { log_message(message); },
      entries,
      [&root](UString const& entry) {
        return fl::filesystem::exists(root / entry) ? std::optional(entry) : std::nullopt;
      });
}

std::set<Path> AddVTPathEntriesToMetadataFile::getAllPhlFiles(Path const& root) const {
  return metadata::findLists(metadata::phlFormat, root,
                             [this](UString const& message) { log_message(message); });
}

std::set<UString> AddVTPathEntriesToMetadataFile::readPhlFile(Path const& file) const {
  return metadata::readList(
      metadata::phlFormat, file, [this](UString const& message) { log_message(message); },
      [](std::string const& line) { return fl::i18n::utf8_to_ustring(line); });
}

std::set<UString> AddVTPathEntriesToMetadataFile::readAllPhlFiles(
    std::set<Path> const& files) const {
  return metadata::readLists(files, [this](Path const& file) { return readPhlFile(file); });
}

}  // namespace registration::commands
