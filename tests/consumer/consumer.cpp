// An installer's view of the library: only what find_package gives. Replaces what the commands ask
// of the computer, so that it changes nothing, and ends with the number of mismatches.
#include <install/cpputil/logger.hpp>
#include <iostream>
#include <list>
#include <registration/commands/AddVTPathEntriesToMetadataFile.hpp>
#include <registration/commands/SetRegistryKeys.hpp>
#include <registration/commands/UpdatePathEnvironmentVariable.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using registration::Path;
using registration::UString;
using registration::commands::AddVTPathEntriesToMetadataFile;
using registration::commands::registryKey;
using registration::commands::RegistryUtil;
using registration::commands::SetRegistryKeys;
using registration::commands::UpdatePathEnvironmentVariable;
using registration::utility::Options;

int mismatches = 0;

void check(bool holds, char const* what) {
  if (!holds) {
    std::cerr << "mismatch: " << what << '\n';
    ++mismatches;
  }
}

// What the replaced operations saw.
struct Record {
  std::vector<UString> log;
  UString writtenPath;
  UString sessionPath;
  std::set<UString> folders;
  std::vector<std::wstring> registry;
} seen;

class PathUpdate : public UpdatePathEnvironmentVariable {
 public:
  using UpdatePathEnvironmentVariable::UpdatePathEnvironmentVariable;

 protected:
  UString getPathEntries() const override { return u"C:\\Windows;C:\\Vortan\\R0\\bin"; }
  bool existsWrapper(Path const&) const override { return true; }
  UString getFileVersionWrapper(Path const&) const override { return u"24.2.0.0"; }
  void setEnvironmentRegistryKey(UString const& value) const override { seen.writtenPath = value; }
  long sendMessageAboutEnvironment() const override { return 1; }
  void updatePathForCurrentSession(UString const& value) const override {
    seen.sessionPath = value;
  }
  UString getLastErrorWrapper() const override { return u"0"; }
  void log_message(UString const& message) const override { seen.log.push_back(message); }
};

class RegistryRecorder : public RegistryUtil {
 public:
  void setRegKeyValue(HKEY const& root, std::wstring const& keyPath, std::wstring const& valueName,
                      std::wstring const& value) const override {
    check(root == install::postinstall::localMachineKey(), "the record's own root");
    seen.registry.push_back(keyPath + L" " + valueName + L"=" + value);
  }
  void deleteRegKey(HKEY const&, std::wstring const& keyPath) const override {
    seen.registry.push_back(L"deleted " + keyPath);
  }
};

// The protected operations are exported: a derived class may extend one by calling it.
class LoggingPathUpdate : public PathUpdate {
 public:
  using PathUpdate::PathUpdate;

 protected:
  void log_message(UString const& message) const override {
    UpdatePathEnvironmentVariable::log_message(message);
  }
};

// Replaces the reading and writing of files; the command keeps what lies between.
class FolderCollector : public AddVTPathEntriesToMetadataFile {
 public:
  using AddVTPathEntriesToMetadataFile::AddVTPathEntriesToMetadataFile;

 protected:
  std::set<Path> getAllPhlFiles(Path const& root) const override {
    return {root / u"a.phl", root / u"b.phl"};
  }
  std::set<UString> readPhlFile(Path const& file) const override {
    return {u"shared", file.filename().ustring()};
  }
  void writePathEntriesToFile(Path const&, std::set<UString> const& entries) const override {
    seen.folders = entries;
  }
};

// Replaces nothing: its table of virtual operations refers to every operation of the base, so that
// it links only when all are exported.
class Untouched : public UpdatePathEnvironmentVariable {
 public:
  using UpdatePathEnvironmentVariable::UpdatePathEnvironmentVariable;
};
class UntouchedFolders : public AddVTPathEntriesToMetadataFile {
 public:
  using AddVTPathEntriesToMetadataFile::AddVTPathEntriesToMetadataFile;
};

Options options() {
  Options::Values values;
  values.rootPath = u"C:\\Vortan\\R1";
  return Options(values);
}

void placesTheFolderBeforeTheOlderInstallation() {
  PathUpdate const command(options(), u"C:\\Vortan\\R1\\bin", u"25.1.0.1", u"vortan.exe");
  command.execute();
  UString const expected = u"C:\\Windows;C:\\Vortan\\R1\\bin;C:\\Vortan\\R0\\bin;";
  check(seen.writtenPath == expected, "the path written to the registry");
  check(seen.sessionPath == expected, "the path of the current session");
  check(seen.log.size() == 4 && seen.log[0] == u"Adding C:\\Vortan\\R1\\bin to the system path",
        "the lines of the log");
}

void gathersTheFoldersOfAllFiles() {
  FolderCollector const command(options());
  command.execute();
  check(seen.folders == std::set<UString>{u"a.phl", u"b.phl", u"shared"}, "the folders gathered");
}

void linksEveryProtectedOperation() {
  Untouched const path(options(), u"C:\\bin", u"1", u"vortan.exe");
  UntouchedFolders const folders(options());
}

void setsAndRemovesRegistryKeys() {
  RegistryRecorder const registry;
  std::list<registryKey> const keys = {
      {install::postinstall::localMachineKey(), u"SOFTWARE\\Vortan", u"Version", u"25.1"}};
  SetRegistryKeys const command(options(), keys, registry);
  command.execute();

  SetRegistryKeys const atRemoval(options(), keys, registry);
  atRemoval.undo();
  check(seen.registry == std::vector<std::wstring>{L"SOFTWARE\\Vortan Version=25.1",
                                                   L"deleted SOFTWARE\\Vortan"},
        "the calls of the registry helper");
}

void logsToTheInstallersLog() {
  std::vector<UString> lines;
  install::cpputil::logger::scoped_observer const observer(
      [&](UString const& message) { lines.push_back(message); });
  LoggingPathUpdate const command(options(), u"c:\\windows", u"25.1.0.1", u"vortan.exe");
  command.execute();
  check(lines ==
            std::vector<UString>{
                u"c:\\windows was not added to the system path since it already exists"},
        "the line in the installation log");
}

void anExceptionCrossesTheLibrarysBorder() {
  try {
    SetRegistryKeys const command(options(), {}, RegistryRecorder());
    check(false, "an empty list is refused");
  } catch (std::runtime_error const& refusal) {
    check(std::string(refusal.what()).starts_with("Exception occured while "),
          "the text of the refusal");
  }
}

}  // namespace

int main() {
  placesTheFolderBeforeTheOlderInstallation();
  gathersTheFoldersOfAllFiles();
  linksEveryProtectedOperation();
  setsAndRemovesRegistryKeys();
  logsToTheInstallersLog();
  anExceptionCrossesTheLibrarysBorder();
  return mismatches;
}
