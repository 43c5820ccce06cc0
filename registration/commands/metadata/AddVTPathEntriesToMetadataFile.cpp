#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/list_files.hpp"
#include "registration/commands/metadata/path_metadata_file.hpp"
#include "registration/utility/failure_convention.hpp"

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
  Path const path = root / UString(metadata::searchFoldersFile);
  if (fl::filesystem::exists(path)) {
    fl::filesystem::remove(path);
  }
  fl::filesystem::ofstream file(path, fl::filesystem::open_mode::truncate);
  for (UString const& entry : entries) {
    utility::loggingFailure([this](UString const& message) { log_message(message); },
                            u"Error writing to ssiSearchFolders",
                            [&] {
                              if (fl::filesystem::exists(root / entry)) {
                                metadata::writeLine(file, entry);
                              }
                            });
  }
  file.close();
}

std::set<Path> AddVTPathEntriesToMetadataFile::getAllPhlFiles(Path const& root) const {
  std::set<Path> files;
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          u"Error getting all PHL files",
                          [&] { metadata::findFilesByExtension(root, u"phl", files); });
  return files;
}

std::set<UString> AddVTPathEntriesToMetadataFile::readPhlFile(Path const& file) const {
  std::set<UString> entries;
  bool const opened = metadata::readEntries(
      file, '%', [&](std::string const& line) { entries.insert(fl::i18n::utf8_to_ustring(line)); });
  if (!opened) {
    log_message(u"Unable to open phl file: " + file.ustring());
  }
  return entries;
}

std::set<UString> AddVTPathEntriesToMetadataFile::readAllPhlFiles(
    std::set<Path> const& files) const {
  std::set<UString> entries;
  for (Path const& file : files) {
    entries.merge(readPhlFile(file));
  }
  return entries;
}

}  // namespace registration::commands
