#include "registration/commands/Add3pJavaPathEntriesToMetadataFile.hpp"

#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/third_party_entries.hpp"

namespace registration::commands {

Add3pJavaPathEntriesToMetadataFile::Add3pJavaPathEntriesToMetadataFile(
    utility::Options const& given)
    : options(given) {}
Add3pJavaPathEntriesToMetadataFile::Add3pJavaPathEntriesToMetadataFile(
    Add3pJavaPathEntriesToMetadataFile const&) = default;
Add3pJavaPathEntriesToMetadataFile::~Add3pJavaPathEntriesToMetadataFile() = default;

void Add3pJavaPathEntriesToMetadataFile::execute() const {
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          UString(metadata::javaClassPaths.unableToAdd),
                          [this] { add3pJavaPathEntriesToMetadataFile(); });
}

void Add3pJavaPathEntriesToMetadataFile::undo() const {
  Add3pJavaPathEntriesToMetadataFile::execute();
}

void Add3pJavaPathEntriesToMetadataFile::add3pJavaPathEntriesToMetadataFile() const {
  UString const root = options.getMetadataRootPath();
  writePathEntriesToFile(root, getJavaClassPathsFromInstrSetMap(root));
}

void Add3pJavaPathEntriesToMetadataFile::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void Add3pJavaPathEntriesToMetadataFile::writePathEntriesToFile(
    UString const& root, std::vector<UString> const& entries) const {
  if (entries.empty()) {
    return;
  }
  Path const folder = Path(root).make_native();
  metadata::writeEntries(
      metadata::javaClassPaths.writer, folder,
      [this](UString const& message) { log_message(message); }, entries, metadata::lineIfItExists);
}

std::vector<UString> Add3pJavaPathEntriesToMetadataFile::getJavaClassPathsFromInstrSetMap(
    UString const& root) const {
  return metadata::gatherPaths(
      metadata::javaClassPaths, root, [this](UString const& message) { log_message(message); },
      [this] { return getInstrSetPostInstallUtilsInstance(); },
      &metadata::InstrSet::get_JavaClassPaths);
}

std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
Add3pJavaPathEntriesToMetadataFile::getInstrSetPostInstallUtilsInstance() const {
  return std::make_unique<install::cppinstrset::InstrSetPostInstallUtils>();
}

}  // namespace registration::commands
