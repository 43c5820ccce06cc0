#include <windows.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <algorithm>
#include <map>

#include "machine/journal/journal_writer.hpp"
#include "machine/journal/restore.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/watch/watched_machine.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/temporary_folder.hpp"
#include "tests/support/wine.hpp"

namespace {

using namespace machine;

/// Who may open a file, as the system's security descriptor language tells it.
std::wstring accessOf(std::filesystem::path const& path) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  std::wstring name = path.native();
  EXPECT_EQ(GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, &list, nullptr, &descriptor),
            DWORD{ERROR_SUCCESS});
  LPWSTR text = nullptr;
  ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                       DACL_SECURITY_INFORMATION, &text, nullptr);
  std::wstring result = text ? text : L"";
  LocalFree(text);
  LocalFree(descriptor);
  return result;
}

TEST(WindowsJournal, OnlyAdministratorsAndTheSystemMayOpenIt) {
  tests::TemporaryFolder const folder;
  auto const file = folder.path() / "journal";
  auto const changed = fromWide((folder.path() / "changed").native());
  current().files().openForWriting(changed, WriteMode::createNew)->write(std::string(10000, 'x'));
  journal::JournalWriter writer(file, current(), "");
  watch::WatchedMachine watched(current(), {&writer});
  watched.files().removeFile(changed);
  auto const ordinary = folder.path() / "ordinary";
  current().files().openForWriting(fromWide(ordinary.native()), WriteMode::createNew);
  EXPECT_NE(accessOf(ordinary), accessOf(file));
  auto const files = folder.path() / "journal.files";
  for (auto const& path : {file, files, std::filesystem::directory_iterator(files)->path()}) {
    auto const access = accessOf(path);
    EXPECT_NE(access.find(L";SY)"), access.npos) << path;
    // Wine keeps a Unix file's permissions: of its owner, in the place of the administrators.
    EXPECT_TRUE(tests::isWine() || access.find(L";BA)") != access.npos) << path;
    auto const count = std::count(access.begin(), access.end(), L'(');
    EXPECT_EQ(count, 2) << path;
  }
}

/// A folder, a key and a task of the real machine, changed by a process that is stopped dead.
class StoppedWindowsProcess : public testing::Test {
 protected:
  StoppedWindowsProcess() {
    auto& files = current().files();
    files.createDirectory(folder());
    files.createDirectory(in(u"sub"));
    write(u"short", "short");
    write(u"long", std::string(8000, 'l'));
    write(u"read-only", "kept");
    files.setReadOnly(in(u"read-only"), true);
    write(u"sub\\file", std::string(5000, 's'));
    Shortcut shortcut;
    shortcut.target = u"C:\\windows\\system32\\notepad.exe";
    current().shell().writeShortcut(in(u"old.lnk"), shortcut);
    auto& registry = current().registry();
    registry.setValue(key, u"expand",
                      RegistryValue::ofText(u"%TEMP%", RegistryType::expandableString));
    registry.setValue({key.root, key.path + u"\\Sub\\Sub"}, u"odd",
                      {static_cast<RegistryType>(99), "odd"});
    TaskDefinition task;
    task.application = u"C:\\windows\\system32\\cmd.exe";
    task.description = u"old";
    current().tasks().createOrReplace(name + u" old", task);
  }
  ~StoppedWindowsProcess() override {
    current().registry().removeKey(key);
    current().tasks().remove(name + u" old");
    current().tasks().remove(name + u" new");
    current().files().setReadOnly(in(u"read-only"), false);
  }

  UString folder() const { return fromWide((directory_.path() / "machine").native()); }
  UString in(std::u16string_view file) const { return path_grammar::join(folder(), file); }
  void write(std::u16string_view file, std::string_view bytes) const {
    auto const writer = current().files().openForWriting(in(file), WriteMode::createNew);
    writer->write(bytes);
    writer->close();
  }

  /// Name and state of everything there.
  using Snapshot = std::map<UString, journal::Image>;
  Snapshot snapshot() const {
    Snapshot result;
    addFolder(folder(), result);
    addKey(key, result);
    for (auto const* task : {u" old", u" new"}) add({Item::Kind::task, name + task, {}}, result);
    return result;
  }

  /// Runs the program up to its n-th operation; its exit code.
  std::uint32_t changeUntil(std::size_t n, std::filesystem::path const& file) const {
    ProcessStart program;
    program.program = tests::testProgram(u"change_until_stopped.exe");
    program.arguments = {toUtf16(std::to_string(n)), fromWide(file.native()), folder(), name};
    return current().processes().start(program)->wait();
  }

  tests::TemporaryFolder const directory_;
  UString const name = u"Registration Journal Test";
  RegistryKey const key{RegistryRoot::currentUser, u"Software\\RegistrationTests\\" + name};

 private:
  static void add(Item const& item, Snapshot& result) {
    auto image = journal::imageOf(current(), item);
    // Wine's file systems keep none.
    if (tests::isWine()) image.attributes.created = 0;
    result.emplace(identityOf(item), std::move(image));
  }
  static void addFolder(UString const& path, Snapshot& result) {
    add({Item::Kind::folder, path, {}}, result);
    auto const entries = current().files().openDirectory(path);
    for (DirectoryEntry entry; entries->next(entry);) {
      auto const inside = path_grammar::join(path, entry.name);
      entry.isDirectory ? addFolder(inside, result) : add({Item::Kind::file, inside, {}}, result);
    }
  }
  static void addKey(RegistryKey const& at, Snapshot& result) {
    add(itemOf(at), result);
    for (auto const& [value, data] : current().registry().values(at)) {
      add(itemOf(at, value), result);
    }
    for (auto const& subkey : current().registry().subkeys(at)) {
      addKey({at.root, at.path + u'\\' + subkey}, result);
    }
  }
};

TEST_F(StoppedWindowsProcess, IsTakenBackFromItsJournal) {
  auto const start = snapshot();
  bool stopped = true;
  std::size_t journals = 0;
  for (std::size_t n = 1; stopped; n += 17) {
    auto const file = directory_.path() / ("journal-" + std::to_string(n));
    auto const exitCode = changeUntil(n, file);
    stopped = exitCode == 9;
    ASSERT_TRUE(stopped || exitCode == 0) << exitCode;
    // Stopped before it had a journal, it had changed nothing.
    bool const hasJournal = std::filesystem::exists(file);
    journals += hasJournal ? 1u : 0u;
    if (!hasJournal) {
      ASSERT_TRUE(snapshot() == start) << n;
      continue;
    }
    auto const report = journal::restore(journal::readJournal(file), current(), {});
    for (auto const& step : report.steps) {
      EXPECT_TRUE(step.outcome == journal::RestoreStep::Outcome::restored ||
                  step.outcome == journal::RestoreStep::Outcome::already)
          << n << ": " << toUtf8(step.item.where) << ": " << step.reason;
    }
    ASSERT_TRUE(snapshot() == start) << n;
  }
  EXPECT_GT(journals, 3u);
}

}  // namespace
