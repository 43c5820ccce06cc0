#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"

#include <stdexcept>

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/foreign_servers.hpp"
#include "registration/commands/metadata/list_files.hpp"

namespace registration::commands {

namespace {

UString toEntry(std::string const& line, std::size_t) {
  return fl::i18n::utf8_to_ustring(line);
}

/// What `ssiSearchFolders` holds: nothing of it is given up while it is not known whether a list
/// still has it. Throws std::runtime_error when it cannot be read either.
std::set<UString> entriesSoFar(Path const& root) {
  Path const file = root / UString(metadata::searchFolders.file);
  if (!fl::filesystem::exists(file)) {
    return {};
  }
  metadata::List list = metadata::readEntries(metadata::commentMark, file, toEntry);
  if (!list.failure.empty()) {
    throw std::runtime_error(fl::i18n::ustring_to_utf8(list.failure));
  }
  return list.entries;
}

}  // namespace

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
  Path const root = Path(options.getMetadataRootPath()).make_native();
  metadata::List list = metadata::readList(
      metadata::phlFormat, file, [this](UString const& message) { log_message(message); },
      [&](std::string const& line, std::size_t number) {
        UString entry = toEntry(line, number);
        // The command looks below the root; who reads the file that it writes, where the entry
        // says.
        metadata::warnOfForeignServer(entry, root, metadata::placeOf(file, number));
        return entry;
      });
  if (list.isOpened && !list.failure.empty()) {
    list.entries.merge(entriesSoFar(root));
  }
  return list.entries;
}

std::set<UString> AddVTPathEntriesToMetadataFile::readAllPhlFiles(
    std::set<Path> const& files) const {
  return metadata::readLists(files, [this](Path const& file) { return readPhlFile(file); });
}

}  // namespace registration::commands
