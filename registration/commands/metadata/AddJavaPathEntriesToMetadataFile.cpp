#include "registration/commands/AddJavaPathEntriesToMetadataFile.hpp"

#include <algorithm>
#include <iterator>

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/foreign_servers.hpp"
#include "registration/commands/metadata/list_files.hpp"
#include "registration/commands/metadata/placeholders.hpp"

namespace registration::commands {

AddJavaPathEntriesToMetadataFile::AddJavaPathEntriesToMetadataFile(utility::Options const& given)
    : options(given) {}
AddJavaPathEntriesToMetadataFile::AddJavaPathEntriesToMetadataFile(
    AddJavaPathEntriesToMetadataFile const&) = default;
AddJavaPathEntriesToMetadataFile::~AddJavaPathEntriesToMetadataFile() = default;

void AddJavaPathEntriesToMetadataFile::execute() const {
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          u"Unable to add java path entries to metadata file",
                          [this] { addJavaPathEntriesToMetadataFile(); });
}

void AddJavaPathEntriesToMetadataFile::undo() const {
  AddJavaPathEntriesToMetadataFile::execute();
}

void AddJavaPathEntriesToMetadataFile::addJavaPathEntriesToMetadataFile() const {
  Path const root = Path(options.getMetadataRootPath()).make_native();
  auto const entries = readAllJcpFiles(getAllJcpFiles(root));
  auto const present = getPathEntriesFromMetadataFile(root);
  writePathEntriesToFile(root, filterPathEntriesAlreadyPresentInMetadataFile(entries, present));
}

void AddJavaPathEntriesToMetadataFile::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void AddJavaPathEntriesToMetadataFile::writePathEntriesToFile(
    Path const& root, std::set<UString> const& entries) const {
  if (!entries.empty()) {
    metadata::writeEntries(
        metadata::javaClassPath, root, [this](UString const& message) { log_message(message); },
        entries, metadata::lineIfItExists);
  }
}

std::set<Path> AddJavaPathEntriesToMetadataFile::getAllJcpFiles(Path const& root) const {
  return metadata::findLists(metadata::jcpFormat, root,
                             [this](UString const& message) { log_message(message); });
}

std::set<UString> AddJavaPathEntriesToMetadataFile::readJcpFile(Path const& file) const {
  UString const root = options.getMetadataRootPath();
  std::string const rootText = fl::i18n::ustring_to_utf8(root);
  auto const toEntry = [&](std::string const& line, std::size_t number) {
    Path const path =
        fl::i18n::utf8_to_ustring(metadata::withReplaced(line, "$vortanroot", rootText));
    UString entry = path.make_native().ustring();
    metadata::warnOfForeignServer(entry, root, metadata::placeOf(file, number));
    return entry;
  };
  return metadata::readList(
             metadata::jcpFormat, file, [this](UString const& message) { log_message(message); },
             toEntry)
      .entries;
}

std::set<UString> AddJavaPathEntriesToMetadataFile::readAllJcpFiles(
    std::set<Path> const& files) const {
  return metadata::readLists(files, [this](Path const& file) { return readJcpFile(file); });
}

std::set<UString> AddJavaPathEntriesToMetadataFile::getPathEntriesFromMetadataFile(
    Path const& root) const {
  Path const file = root / UString(metadata::javaClassPath.file);
  if (!fl::filesystem::exists(file)) {
    return {};
  }
  return metadata::readList(
             metadata::javaClassPathFormat, file,
             [this](UString const& message) { log_message(message); },
             [](std::string const& line, std::size_t) { return fl::i18n::utf8_to_ustring(line); })
      .entries;
}

std::set<UString> AddJavaPathEntriesToMetadataFile::filterPathEntriesAlreadyPresentInMetadataFile(
    std::set<UString> const& newEntries, std::set<UString> const& presentEntries) const {
  std::set<UString> fresh;
  std::ranges::set_difference(newEntries, presentEntries, std::inserter(fresh, fresh.end()));
  return fresh;
}

}  // namespace registration::commands
