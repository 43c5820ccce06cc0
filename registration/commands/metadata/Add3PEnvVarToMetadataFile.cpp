#include "registration/commands/Add3PEnvVarToMetadataFile.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/metadata/foreign_servers.hpp"
#include "registration/commands/metadata/third_party_entries.hpp"

namespace registration::commands {

namespace {

/// NAME|VALUE|true or false, and a line feed; nothing is quoted.
std::string record(install::cppinstrset::EnvironmentVar const& variable, UString const& setRoot) {
  return variable.name + '|' + metadata::expanded(variable.value, setRoot) + '|' +
         (variable.overwrite ? "true" : "false") + '\n';
}

void removeIfPresent(Path const& file) {
  if (fl::filesystem::exists(file)) {
    fl::filesystem::remove(file);
  }
}

}  // namespace

Add3PEnvVarToMetadataFile::Add3PEnvVarToMetadataFile(utility::Options const& given)
    : options(given) {}
Add3PEnvVarToMetadataFile::Add3PEnvVarToMetadataFile(Add3PEnvVarToMetadataFile const&) = default;
Add3PEnvVarToMetadataFile::~Add3PEnvVarToMetadataFile() = default;

void Add3PEnvVarToMetadataFile::execute() const {
  utility::loggingFailure([this](UString const& message) { log_message(message); },
                          UString(metadata::environmentVariables.unableToAdd),
                          [this] { add3PEnvVarsEntriesToMetadataFile(); });
}

void Add3PEnvVarToMetadataFile::undo() const {
  Add3PEnvVarToMetadataFile::execute();
}

void Add3PEnvVarToMetadataFile::add3PEnvVarsEntriesToMetadataFile() const {
  UString const root = options.getMetadataRootPath();
  writeEnvVarEntriesToFile(root, getAllEnvVariablesFromInstrSetMap(root));
}

void Add3PEnvVarToMetadataFile::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

void Add3PEnvVarToMetadataFile::writeEnvVarEntriesToFile(UString const& root,
                                                         std::string body) const {
  metadata::Writer const& writer = metadata::environmentVariables.writer;
  Path const folder = Path(root).make_native();
  if (body.empty()) {
    removeIfPresent(folder / UString(writer.file));
    return;
  }
  metadata::Log const log = [this](UString const& message) { log_message(message); };
  metadata::writeFile(writer, folder, log, [&](metadata::Lines& lines) {
    utility::loggingFailure(log, UString(writer.errorWriting), [&] { lines.write(body); });
  });
}

std::string Add3PEnvVarToMetadataFile::getAllEnvVariablesFromInstrSetMap(
    UString const& root) const {
  std::string body;
  metadata::forEachInstrSet(
      metadata::environmentVariables, root,
      [this](UString const& message) { log_message(message); },
      [this] { return getInstrSetPostInstallUtilsInstance(); },
      [&](UString const& setRoot, metadata::InstrSet const& set) {
        std::size_t index = 0;
        for (auto const& variable : set.get_envVariables()) {
          body += record(variable, setRoot);
          UString const value =
              fl::i18n::utf8_to_ustring(metadata::expanded(variable.value, setRoot));
          metadata::warnOfForeignServer(
              value, root,
              metadata::placeIn(metadata::environmentVariables, setRoot, index++) + u"/value");
        }
      });
  return body;
}

std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
Add3PEnvVarToMetadataFile::getInstrSetPostInstallUtilsInstance() const {
  return std::make_unique<install::cppinstrset::InstrSetPostInstallUtils>();
}

}  // namespace registration::commands
