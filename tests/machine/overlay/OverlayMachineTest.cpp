#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "machine/overlay/overlay_machine.hpp"
#include "machine/path_grammar.hpp"
#include "machine/simulated/simulated_machine.hpp"
#include "machine/whole_file.hpp"
#include "tests/support/program_image.hpp"
#include "tests/support/shortcut_printing.hpp"
#include "tests/support/substituted_machine.hpp"
#include "tests/support/temporary_folder.hpp"

namespace machine::overlay {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t largest = 1 << 20;

std::optional<std::string> contentOf(Files& files, std::u16string_view path) {
  return readFile(files, path, largest);
}

void write(Files& files, std::u16string_view path, std::string_view bytes,
           WriteMode mode = WriteMode::truncate) {
  files.openForWriting(path, mode)->write(bytes);
}

std::vector<std::string> namesIn(Files& files, std::u16string_view path) {
  std::vector<std::string> names;
  auto const stream = files.openDirectory(path);
  for (DirectoryEntry entry; stream->next(entry);) names.push_back(toUtf8(entry.name));
  return names;
}

template <typename Call>
std::optional<ErrorCode> errorOf(Call call) {
  try {
    call();
    return std::nullopt;
  } catch (SystemError const& error) {
    return static_cast<ErrorCode>(error.code());
  }
}

Shortcut shortcutTo(UString target) {
  Shortcut shortcut;
  shortcut.target = std::move(target);
  return shortcut;
}

TaskDefinition taskOf(UString application) {
  TaskDefinition task;
  task.application = std::move(application);
  return task;
}

ServiceDefinition serviceOf(UString commandLine) {
  ServiceDefinition service;
  service.commandLine = std::move(commandLine);
  return service;
}

RegistryKey inSoftware(UString const& name) {
  return {RegistryRoot::localMachine, u"SOFTWARE\\" + name};
}

/// Every file of a host's folder with its bytes, and every folder.
std::map<std::string, std::string> snapshot(fs::path const& folder) {
  std::map<std::string, std::string> found;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    auto& content = found[entry.path().generic_string()];
    if (entry.is_regular_file()) {
      std::ifstream file(entry.path(), std::ios::binary);
      content.assign(std::istreambuf_iterator<char>(file), {});
    } else {
      content = "no file";
    }
  }
  return found;
}

/// An overlay over a simulated machine with something in it: a folder C:\in with the files "one"
/// and "Two", and a folder "sub" with the file "deep".
class OverlayMachineTest : public ::testing::Test {
 protected:
  OverlayMachineTest() {
    inner_.files().createDirectory(u"C:\\in");
    inner_.files().createDirectory(u"C:\\in\\sub");
    write(inner_.files(), u"C:\\in\\one", "one");
    write(inner_.files(), u"C:\\in\\Two", "two");
    write(inner_.files(), u"C:\\in\\sub\\deep", "deep");
  }

  simulated::SimulatedMachine& inner() { return inner_; }
  OverlayMachine& overlay() { return overlay_; }
  Files& files() { return overlay_.files(); }
  Registry& registry() { return overlay_.registry(); }
  fs::path const& directory() { return directory_.path(); }

 private:
  tests::TemporaryFolder directory_;
  simulated::SimulatedMachine inner_{directory_.path()};
  OverlayMachine overlay_{inner_};
};

/// A folder C:\many of 100,000 files, each of 1 GiB, which nobody ever made.
class ManyFiles final : public Files {
 public:
  static constexpr std::size_t count = 100'000;
  static constexpr std::uint64_t size = 1 << 30;

  std::size_t calls() const { return calls_; }
  std::uint64_t bytesRead() const { return bytesRead_; }

  std::optional<FileStatus> status(std::u16string_view path) override {
    ++calls_;
    auto const names = path_grammar::components(path);
    if (names.empty() || (names.size() == 1 && names[0] == u"many")) return FileStatus{true};
    bool const isFile = names.size() == 2 && names[0] == u"many" && isOne(names[1]);
    return isFile ? std::optional(FileStatus{false, false, size}) : std::nullopt;
  }
  std::unique_ptr<DirectoryStream> openDirectory(std::u16string_view) override {
    ++calls_;
    return std::make_unique<Names>();
  }
  std::unique_ptr<FileReader> openForReading(std::u16string_view) override {
    ++calls_;
    return std::make_unique<Reader>(bytesRead_);
  }
  std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode) override {
    refuse(path);
  }
  void createDirectory(std::u16string_view path) override { refuse(path); }
  Claim claimDirectory(std::u16string_view path) override { refuse(path); }
  ForeignAccess foreignAccess(std::u16string_view) override { return {}; }
  bool removeFile(std::u16string_view path) override { refuse(path); }
  bool removeDirectory(std::u16string_view path) override { refuse(path); }
  void rename(std::u16string_view path, std::u16string_view, bool) override { refuse(path); }
  void setAttributes(std::u16string_view path, FileAttributes const&) override { refuse(path); }
  std::optional<Link> link(std::u16string_view) override { return std::nullopt; }
  void createLink(std::u16string_view path, Link const&) override { refuse(path); }
  UString currentDirectory() override { return u"C:\\"; }
  bool setCurrentDirectory(std::u16string_view path) override { refuse(path); }
  std::optional<FileVersion> fileVersion(std::u16string_view) override { return std::nullopt; }
  std::unique_ptr<FileLock> lock(std::u16string_view path, std::chrono::milliseconds) override {
    refuse(path);
  }

 private:
  static UString nameOf(std::size_t index) {
    auto const digits = std::to_string(count + index);
    return UString(digits.begin(), digits.end());
  }
  static bool isOne(std::u16string_view name) {
    return name.size() == 6 && name[0] == u'1' &&
           std::all_of(name.begin(), name.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; });
  }
  [[noreturn]] static void refuse(std::u16string_view path) {
    throw SystemError("change", path, ErrorCode::writeProtect);
  }

  class Names final : public DirectoryStream {
   public:
    bool next(DirectoryEntry& entry) override {
      if (next_ == count) return false;
      name_ = nameOf(next_++);
      entry = {name_, false, false};
      return true;
    }

   private:
    std::size_t next_ = 0;
    UString name_;
  };

  class Reader final : public FileReader {
   public:
    explicit Reader(std::uint64_t& bytesRead) : bytesRead_(bytesRead) {}
    std::size_t read(std::span<char> buffer) override {
      auto const length = std::min<std::uint64_t>(buffer.size(), size - position_);
      std::fill_n(buffer.begin(), length, 'x');
      position_ += length;
      bytesRead_ += length;
      return length;
    }
    void seek(std::uint64_t position) override { position_ = position; }
    ForeignAccess foreignAccess() override { return {}; }

   private:
    std::uint64_t& bytesRead_;
    std::uint64_t position_ = 0;
  };

  std::size_t calls_ = 0;
  std::uint64_t bytesRead_ = 0;
};

class ManyFilesTest : public OverlayMachineTest {
 protected:
  ManyFiles& many() { return many_; }
  OverlayMachine& overlay() { return overMany_; }
  Files& files() { return overMany_.files(); }

 private:
  ManyFiles many_;
  tests::SubstitutedMachine machine_{inner()};  // its files are replaced before the overlay is made
  OverlayMachine overMany_{(machine_.replace(many_), machine_)};
};

}  // namespace

TEST_F(OverlayMachineTest, TheInnerMachineStaysToTheByte) {
  inner().registry().setText(inSoftware(u"Old"), u"name", u"text");
  inner().tasks().createOrReplace(u"Old", taskOf(u"C:\\old.exe"));
  write(inner().files(), u"C:\\service.exe", "x");
  inner().services().set(u"Old", serviceOf(u"C:\\service.exe"));
  inner().shell().writeShortcut(u"C:\\old.lnk", shortcutTo(u"C:\\old.exe"));
  write(inner().files(), u"C:\\module.dll", "Register");
  inner().save();
  auto const before = snapshot(directory());

  write(files(), u"C:\\in\\one", "changed");
  write(files(), u"C:\\in\\Two", " and more", WriteMode::append);
  write(files(), u"C:\\in\\new", "new", WriteMode::createNew);
  files().createDirectory(u"C:\\made");
  files().rename(u"C:\\in\\sub", u"C:\\made\\sub", false);
  write(files(), u"C:\\made\\sub\\deep", "changed");
  files().removeFile(u"C:\\made\\sub\\deep");
  files().removeDirectory(u"C:\\made\\sub");
  files().setCurrentDirectory(u"C:\\made");
  auto const lock = files().lock(u"lock", std::chrono::milliseconds(0));
  registry().setText(inSoftware(u"Old"), u"name", u"new");
  registry().createKey(inSoftware(u"New"));
  registry().removeKey(inSoftware(u"Old"));
  overlay().environment().setVariable(u"PATH", u"");
  overlay().environment().removeVariable(u"TEMP");
  overlay().environment().broadcastSettingChange();
  overlay().shell().writeShortcut(u"C:\\old.lnk", shortcutTo(u"C:\\new.exe"));
  overlay().shell().announceAssociationsChanged();
  overlay().tasks().createOrReplace(u"New", taskOf(u"C:\\new.exe"));
  overlay().tasks().stopAndDisable(u"Old");
  overlay().tasks().remove(u"Old");
  overlay().services().start(u"Old", std::chrono::milliseconds(0));
  overlay().services().stop(u"Old", std::chrono::milliseconds(0));
  overlay().services().remove(u"Old");
  overlay().services().set(u"New", serviceOf(u"C:\\service.exe"));
  ProcessStart start;
  start.program = u"C:\\service.exe";
  start.standardOutput = {ProcessOutput::Kind::overwriteFile, u"C:\\in\\one", {}};
  overlay().processes().start(start)->wait();
  overlay().processes().shellExecute(u"C:\\service.exe", u"");
  overlay().modules().callEntryPoint(u"C:\\module.dll", u"C:\\module.dll", "Register", {});
  overlay().modules().admitBundles(u"C:\\", {u"C:\\module.dll"});

  EXPECT_EQ(inner().files().currentDirectory(), u"C:\\");
  inner().save();
  EXPECT_EQ(snapshot(directory()), before);
}

TEST_F(OverlayMachineTest, WhatIsUntouchedIsTheInnerMachines) {
  EXPECT_EQ(contentOf(files(), u"C:\\in\\one"), "one");
  EXPECT_EQ(namesIn(files(), u"C:\\in"), (std::vector<std::string>{"one", "sub", "Two"}));
  EXPECT_EQ(overlay().environment().variable(u"SystemRoot"), u"C:\\Windows");
  EXPECT_TRUE(registry().keyExists({RegistryRoot::localMachine, u"SOFTWARE\\Classes"}));
  EXPECT_EQ(overlay().footprint().names, 0u);
}

TEST_F(OverlayMachineTest, AFolderShowsTheNamesOfBoth) {
  write(files(), u"C:\\in\\p", "");
  files().removeFile(u"C:\\in\\one");
  write(files(), u"C:\\in\\TWO", "written");
  files().createDirectory(u"C:\\in\\a");
  EXPECT_EQ(namesIn(files(), u"C:\\in"), (std::vector<std::string>{"a", "p", "sub", "Two"}));
}

TEST_F(OverlayMachineTest, ANameMadeAnewIsSpelledAnew) {
  files().removeFile(u"C:\\in\\Two");
  write(files(), u"C:\\in\\TWO", "");
  EXPECT_EQ(namesIn(files(), u"C:\\in"), (std::vector<std::string>{"one", "sub", "TWO"}));
}

TEST_F(OverlayMachineTest, ARemovedFolderThatIsMadeAnewIsEmpty) {
  files().removeFile(u"C:\\in\\sub\\deep");
  EXPECT_TRUE(files().removeDirectory(u"C:\\in\\sub"));
  EXPECT_EQ(errorOf([&] { write(files(), u"C:\\in\\sub\\deep", ""); }), ErrorCode::pathNotFound);
  files().createDirectory(u"C:\\in\\sub");
  EXPECT_TRUE(namesIn(files(), u"C:\\in\\sub").empty());
  EXPECT_FALSE(files().status(u"C:\\in\\sub\\deep"));
}

TEST_F(OverlayMachineTest, AFolderIsNotEmptyWhileTheInnerOneShows) {
  EXPECT_EQ(errorOf([&] { files().removeDirectory(u"C:\\in\\sub"); }),
            ErrorCode::directoryNotEmpty);
}

TEST_F(OverlayMachineTest, AnAppendedFileBeginsAsTheInnerOne) {
  write(files(), u"C:\\in\\one", " two", WriteMode::append);
  write(files(), u"C:\\in\\one", " three", WriteMode::append);
  EXPECT_EQ(contentOf(files(), u"C:\\in\\one"), "one two three");
  EXPECT_EQ(files().status(u"C:\\in\\one")->size, 13u);
  EXPECT_EQ(overlay().footprint().bytes, 10u);
  auto const reader = files().openForReading(u"C:\\in\\one");
  std::array<char, 32> part;
  reader->seek(2);
  EXPECT_EQ(reader->read(part), 1u) << "to the end of the inner part";
  EXPECT_EQ(reader->read(part), 10u);
}

TEST_F(OverlayMachineTest, AMovedFolderShowsTheInnerOneItWas) {
  files().rename(u"C:\\in", u"C:\\moved", false);
  EXPECT_FALSE(files().status(u"C:\\in"));
  EXPECT_FALSE(files().status(u"C:\\in\\one"));
  EXPECT_EQ(contentOf(files(), u"C:\\moved\\one"), "one");
  EXPECT_EQ(contentOf(files(), u"C:\\moved\\sub\\deep"), "deep");
  write(files(), u"C:\\moved\\sub\\deep", "er", WriteMode::append);
  files().removeFile(u"C:\\moved\\one");
  files().rename(u"C:\\moved\\sub", u"C:\\moved\\below", false);
  files().rename(u"C:\\moved", u"C:\\again", false);
  EXPECT_EQ(namesIn(files(), u"C:\\again"), (std::vector<std::string>{"below", "Two"}));
  EXPECT_EQ(contentOf(files(), u"C:\\again\\below\\deep"), "deeper");
  files().rename(u"C:\\again", u"C:\\in", false);
  EXPECT_EQ(contentOf(files(), u"C:\\in\\below\\deep"), "deeper");
  EXPECT_FALSE(files().status(u"C:\\in\\sub"));
}

TEST_F(OverlayMachineTest, AFolderIsNotMovedIntoItself) {
  EXPECT_EQ(errorOf([&] { files().rename(u"C:\\in", u"C:\\in\\sub\\in", false); }),
            ErrorCode::invalidParameter);
  EXPECT_EQ(contentOf(files(), u"C:\\in\\sub\\deep"), "deep");
}

TEST_F(OverlayMachineTest, AVersionIsReadWhereverTheBytesAre) {
  auto const program = simulated::program();
  FileVersion const version{25, 1, 0, 7};
  write(inner().files(), u"C:\\in\\tool.exe", program);
  EXPECT_EQ(files().fileVersion(u"C:\\in\\tool.exe"), version);
  files().rename(u"C:\\in\\tool.exe", u"C:\\moved.exe", false);
  EXPECT_EQ(files().fileVersion(u"C:\\moved.exe"), version);
  EXPECT_FALSE(files().fileVersion(u"C:\\in\\tool.exe"));
  write(files(), u"C:\\moved.exe", "appended", WriteMode::append);
  EXPECT_EQ(files().fileVersion(u"C:\\moved.exe"), version);
  write(files(), u"C:\\written.exe", program);
  EXPECT_EQ(files().fileVersion(u"C:\\written.exe"), version);
  write(files(), u"C:\\moved.exe", "no program");
  EXPECT_FALSE(files().fileVersion(u"C:\\moved.exe"));
}

TEST_F(OverlayMachineTest, AVerbatimNameMayEndWithADot) {
  write(files(), u"\\\\?\\C:\\in\\dot.", "dot");
  EXPECT_FALSE(files().status(u"C:\\in\\dot."));
  EXPECT_EQ(contentOf(files(), u"\\\\?\\C:\\in\\dot."), "dot");
  EXPECT_EQ(contentOf(files(), u"\\\\?\\C:\\in\\one"), "one");
}

TEST_F(OverlayMachineTest, ReadingAddsNothingToMemory) {
  registry().value(inSoftware(u"None"), u"name");
  registry().subkeys({RegistryRoot::localMachine, u""});
  files().status(u"C:\\none\\in\\none");
  EXPECT_FALSE(files().removeFile(u"C:\\in\\none"));
  EXPECT_FALSE(registry().removeKey(inSoftware(u"None")));
  contentOf(files(), u"C:\\in\\sub\\deep");
  overlay().environment().variable(u"PATH");
  overlay().tasks().task(u"None");
  overlay().services().state(u"None");
  EXPECT_EQ(overlay().footprint().names, 0u);
}

TEST_F(OverlayMachineTest, WhatWasMadeAndRemovedIsForgotten) {
  write(files(), u"C:\\in\\new", "bytes");
  auto const before = overlay().footprint();
  for (int i = 0; i < 100; ++i) {
    auto const name = toUtf16("C:\\in\\" + std::to_string(i));
    write(files(), name, "bytes");
    files().removeFile(name);
  }
  EXPECT_EQ(overlay().footprint().names, before.names);
  EXPECT_EQ(overlay().footprint().bytes, before.bytes);
}

TEST_F(OverlayMachineTest, ALockNeedsNoFileOfTheInnerMachine) {
  auto lock = files().lock(u"C:\\in\\lock", std::chrono::milliseconds(0));
  EXPECT_TRUE(files().status(u"C:\\in\\lock"));
  EXPECT_FALSE(inner().files().status(u"C:\\in\\lock"));
  auto const innerLock = inner().files().lock(u"C:\\in\\one", std::chrono::milliseconds(0));
  EXPECT_NO_THROW(files().lock(u"C:\\in\\one", std::chrono::milliseconds(0)));
}

TEST_F(OverlayMachineTest, AnInnerLinkIsDescribedAndOpened) {
  std::error_code error;
  fs::create_symlink("sub", directory() / "C" / "in" / "toFolder", error);
  if (error) GTEST_SKIP() << "this host makes no links";
  fs::create_symlink("one", directory() / "C" / "in" / "toFile", error);
  auto const toFolder = files().status(u"C:\\in\\toFolder");
  EXPECT_TRUE(toFolder && toFolder->isLink && toFolder->isDirectory);
  EXPECT_EQ(contentOf(files(), u"C:\\in\\toFolder\\deep"), "deep");
  write(files(), u"C:\\in\\toFolder\\new", "new");
  EXPECT_EQ(namesIn(files(), u"C:\\in\\toFolder"), (std::vector<std::string>{"deep", "new"}));
  EXPECT_TRUE(files().status(u"C:\\in\\toFolder")->isLink);
  write(files(), u"C:\\in\\toFile", " more", WriteMode::append);
  EXPECT_EQ(contentOf(files(), u"C:\\in\\toFile"), "one more");
  EXPECT_TRUE(files().status(u"C:\\in\\toFile")->isLink);
  EXPECT_TRUE(files().removeDirectory(u"C:\\in\\toFolder"));
  EXPECT_TRUE(files().removeFile(u"C:\\in\\toFile"));
  EXPECT_EQ(namesIn(files(), u"C:\\in"), (std::vector<std::string>{"one", "sub", "Two"}));
}

TEST_F(OverlayMachineTest, AnInnerReadOnlyFileIsNotWrittenToButRemoved) {
  fs::permissions(directory() / "C" / "in" / "one", fs::perms::owner_read);
  if (!inner().files().status(u"C:\\in\\one")->attributes.isReadOnly)
    GTEST_SKIP() << "nor is it on this host";
  EXPECT_EQ(errorOf([&] { write(files(), u"C:\\in\\one", "", WriteMode::append); }),
            ErrorCode::accessDenied);
  EXPECT_EQ(errorOf([&] { files().rename(u"C:\\in\\Two", u"C:\\in\\one", true); }),
            ErrorCode::accessDenied);
  files().rename(u"C:\\in\\one", u"C:\\in\\other", false);
  EXPECT_EQ(errorOf([&] { write(files(), u"C:\\in\\other", ""); }), ErrorCode::accessDenied);
  EXPECT_TRUE(files().removeFile(u"C:\\in\\other"));
  write(files(), u"C:\\in\\one", "new");
  EXPECT_EQ(contentOf(files(), u"C:\\in\\one"), "new");
}

TEST_F(OverlayMachineTest, ARemovedKeyHidesWhatTheInnerOneHolds) {
  inner().registry().setText(inSoftware(u"Key\\Below"), u"name", u"text");
  inner().registry().setText(inSoftware(u"Key"), u"other", u"text");
  EXPECT_FALSE(registry().createKey(inSoftware(u"KEY")));
  EXPECT_TRUE(registry().removeKey(inSoftware(u"key")));
  EXPECT_FALSE(registry().keyExists(inSoftware(u"Key\\Below")));
  EXPECT_FALSE(registry().value(inSoftware(u"Key"), u"other"));
  EXPECT_TRUE(registry().createKey(inSoftware(u"KEY")));
  EXPECT_TRUE(registry().values(inSoftware(u"Key")).empty());
  EXPECT_TRUE(registry().subkeys(inSoftware(u"Key")).empty());
  EXPECT_EQ(registry().subkeys({RegistryRoot::localMachine, u"SOFTWARE"}),
            (std::vector<UString>{u"Classes", u"KEY", u"Microsoft"}));
}

TEST_F(OverlayMachineTest, ClassesAreSeenUnderBothTheirNames) {
  RegistryKey const alias{RegistryRoot::classesRoot, u".type"};
  RegistryKey const actual = inSoftware(u"Classes\\.type");
  registry().setText(actual, u"", u"a");
  EXPECT_EQ(registry().value(alias, u"")->text(), u"a");
  EXPECT_FALSE(registry().createKey(alias));
  registry().setText(alias, u"", u"b");
  EXPECT_EQ(registry().value(actual, u"")->text(), u"b");
  EXPECT_TRUE(registry().removeKey(actual));
  EXPECT_FALSE(registry().keyExists(alias));
}

TEST_F(OverlayMachineTest, UntouchedClassesAreReadUnderTheRootThatWasAskedFor) {
  class UsersClasses final : public Registry {
   public:
    bool createKey(RegistryKey const&) override { return false; }
    bool keyExists(RegistryKey const& key) override { return isOne(key); }
    std::optional<RegistryValue> value(RegistryKey const& key, std::u16string_view) override {
      return isOne(key) ? std::optional(RegistryValue::ofText(u"user's")) : std::nullopt;
    }
    void setValue(RegistryKey const&, std::u16string_view, RegistryValue const&) override {}
    bool removeValue(RegistryKey const&, std::u16string_view) override { return false; }
    bool removeKey(RegistryKey const&) override { return false; }
    bool removeEmptyKey(RegistryKey const&) override { return false; }
    std::vector<UString> subkeys(RegistryKey const&) override { return {}; }
    std::vector<std::pair<UString, RegistryValue>> values(RegistryKey const&) override {
      return {};
    }

   private:
    static bool isOne(RegistryKey const& key) {
      return key.root == RegistryRoot::classesRoot && key.path == u"user's";
    }
  } merging;
  tests::SubstitutedMachine machine(inner());
  machine.replace(merging);
  OverlayMachine over(machine);
  over.registry().setText({RegistryRoot::classesRoot, u"other"}, u"", u"x");
  EXPECT_EQ(over.registry().value({RegistryRoot::classesRoot, u"user's"}, u"")->text(), u"user's");
  EXPECT_FALSE(over.registry().keyExists(inSoftware(u"Classes\\user's")));
}

TEST_F(OverlayMachineTest, AnInnerShortcutIsReadUntilItIsReplaced) {
  inner().shell().writeShortcut(u"C:\\in\\x.lnk", shortcutTo(u"C:\\old.exe"));
  auto& shell = overlay().shell();
  EXPECT_EQ(shell.readShortcut(u"C:\\in\\x.lnk"), shortcutTo(u"C:\\old.exe"));
  files().rename(u"C:\\in\\x.lnk", u"C:\\in\\y.lnk", false);
  EXPECT_EQ(shell.readShortcut(u"C:\\in\\x.lnk"), std::nullopt);
  EXPECT_EQ(shell.readShortcut(u"C:\\in\\y.lnk"), shortcutTo(u"C:\\old.exe"));
  shell.writeShortcut(u"C:\\in\\y.lnk", shortcutTo(u"C:\\new.exe"));
  EXPECT_EQ(shell.readShortcut(u"C:\\in\\y.lnk"), shortcutTo(u"C:\\new.exe"));
  EXPECT_TRUE(files().status(u"C:\\in\\y.lnk"));
  EXPECT_TRUE(files().removeFile(u"C:\\in\\y.lnk"));
  EXPECT_EQ(shell.readShortcut(u"C:\\in\\y.lnk"), std::nullopt);
}

TEST_F(OverlayMachineTest, AnInnerTaskIsDisabledHereOnly) {
  inner().tasks().createOrReplace(u"Task", taskOf(u"C:\\x.exe"));
  EXPECT_TRUE(overlay().tasks().stopAndDisable(u"TASK"));
  EXPECT_FALSE(overlay().tasks().task(u"Task")->enabled);
  EXPECT_TRUE(inner().tasks().task(u"Task")->enabled);
  EXPECT_TRUE(overlay().tasks().remove(u"Task"));
  EXPECT_FALSE(overlay().tasks().remove(u"Task"));
}

TEST_F(OverlayMachineTest, AnInnerServiceKeepsItsStateWhenItIsSet) {
  write(inner().files(), u"C:\\x.exe", "x");
  inner().services().set(u"Service", serviceOf(u"C:\\x.exe"));
  inner().services().start(u"Service", std::chrono::milliseconds(0));
  auto& services = overlay().services();
  services.set(u"SERVICE", serviceOf(u"C:\\none.exe"));
  EXPECT_EQ(services.state(u"Service"), ServiceState::running);
  services.stop(u"Service", std::chrono::milliseconds(0));
  EXPECT_EQ(services.state(u"Service"), ServiceState::stopped);
  EXPECT_EQ(errorOf([&] { services.start(u"Service", std::chrono::milliseconds(0)); }),
            ErrorCode::fileNotFound);
  EXPECT_EQ(inner().services().state(u"Service"), ServiceState::running);
}

TEST_F(OverlayMachineTest, AServiceThatWasNotSetHereStartsWhateverItsCommandLine) {
  inner().services().set(u"Service", serviceOf(u"%SystemRoot%\\host.exe -k x"));
  overlay().services().start(u"Service", std::chrono::milliseconds(0));
  EXPECT_EQ(overlay().services().state(u"Service"), ServiceState::running);
}

TEST_F(OverlayMachineTest, VariablesAreTheOverlaysOwn) {
  auto& environment = overlay().environment();
  environment.setVariable(u"temp", u"C:\\other");
  EXPECT_EQ(environment.variable(u"TEMP"), u"C:\\other");
  environment.removeVariable(u"Temp");
  EXPECT_FALSE(environment.variable(u"TEMP"));
  EXPECT_NE(environment.lastError(), 0u);
  EXPECT_TRUE(inner().environment().variable(u"TEMP"));
  EXPECT_EQ(environment.broadcastSettingChange(), 1);
}

TEST_F(OverlayMachineTest, AProgramThatWasWrittenCanBeStarted) {
  ProcessStart start;
  start.program = u"C:\\in\\new.exe";
  EXPECT_EQ(errorOf([&] { overlay().processes().start(start); }), ErrorCode::fileNotFound);
  write(files(), u"C:\\in\\new.exe", "");
  inner().setExitCode(u"new.exe", 3);
  EXPECT_EQ(overlay().processes().start(start)->wait(), 0u);
}

TEST_F(OverlayMachineTest, AModuleIsFoundInTheSystemFolderAndOnThePath) {
  write(files(), u"C:\\Windows\\System32\\one.dll", "Register");
  write(files(), u"C:\\in\\two.dll", "Register");
  auto const call = [&](UString const& name, UString const& file) {
    return overlay().modules().callEntryPoint(name, file, "Register", {});
  };
  EXPECT_EQ(call(u"one", u"C:\\Windows\\System32\\one.dll"), ModuleCall::called);
  EXPECT_THROW(call(u"one", u"C:\\in\\one.dll"), machine::OtherModule);
  EXPECT_EQ(call(u"two.dll", u"C:\\in\\two.dll"), ModuleCall::notLoaded);
  overlay().environment().setVariable(u"PATH", u"in;;C:\\none;C:\\in");
  EXPECT_EQ(call(u"two.dll", u"C:\\in\\two.dll"), ModuleCall::called);
}

TEST_F(OverlayMachineTest, BundlesAreNotAdmitted) {
  EXPECT_FALSE(overlay().modules().admitBundles(u"C:\\in", {u"C:\\in\\bundle.dll"}));
}

TEST_F(OverlayMachineTest, NothingIsDownloaded) {
  try {
    overlay().downloads().get(u"http://localhost/x", {}, [](std::string_view) { FAIL(); });
    FAIL();
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.is(ErrorCode::notSupported));
    EXPECT_NE(std::string(error.what()).find("A preview downloads nothing."), std::string::npos);
  }
}

TEST_F(OverlayMachineTest, AnOverlayMayLieOverAnOverlay) {
  write(files(), u"C:\\in\\one", "first");
  OverlayMachine second(static_cast<Machine&>(overlay()));
  write(second.files(), u"C:\\in\\one", " second", WriteMode::append);
  EXPECT_EQ(contentOf(second.files(), u"C:\\in\\one"), "first second");
  EXPECT_EQ(contentOf(files(), u"C:\\in\\one"), "first");
}

TEST_F(ManyFilesTest, TouchingTenFilesOfManyCostsTen) {
  for (auto digit : {u"0", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9"}) {
    auto const file = UString(u"C:\\many\\10000") + digit;
    write(files(), file, "changed");
    EXPECT_EQ(contentOf(files(), file), "changed");
  }
  EXPECT_EQ(overlay().footprint().names, 2u + 10u) << "the drive, the folder and the files";
  EXPECT_EQ(overlay().footprint().bytes, 10u * 7u);
  EXPECT_LE(many().calls(), 10u * 10u);
  EXPECT_EQ(many().bytesRead(), 0u);
}

TEST_F(ManyFilesTest, ListingManyKeepsNoneOfThem) {
  write(files(), u"C:\\many\\100000", "");
  auto const before = overlay().footprint().names;
  EXPECT_EQ(namesIn(files(), u"C:\\many").size(), ManyFiles::count);
  EXPECT_EQ(overlay().footprint().names, before);
  EXPECT_LE(many().calls(), 10u);
}

TEST_F(ManyFilesTest, MovingAFolderOfManyMovesOneName) {
  files().rename(u"C:\\many", u"C:\\moved", false);
  EXPECT_EQ(files().status(u"C:\\moved\\100007")->size, ManyFiles::size);
  EXPECT_FALSE(files().status(u"C:\\many\\100007"));
  EXPECT_EQ(overlay().footprint().names, 3u) << "the drive, the name that is gone and the new one";
  EXPECT_EQ(overlay().footprint().bytes, 0u);
  EXPECT_EQ(many().bytesRead(), 0u);
}

TEST_F(ManyFilesTest, AppendingToABigFileKeepsOnlyWhatIsAppended) {
  write(files(), u"C:\\many\\100000", "end", WriteMode::append);
  EXPECT_EQ(files().status(u"C:\\many\\100000")->size, ManyFiles::size + 3);
  auto const reader = files().openForReading(u"C:\\many\\100000");
  reader->seek(ManyFiles::size - 2);
  std::string last;
  std::array<char, 8> part;
  while (auto const count = reader->read(part)) last.append(part.data(), count);
  EXPECT_EQ(last, "xxend");
  EXPECT_EQ(overlay().footprint().bytes, 3u);
  EXPECT_EQ(many().bytesRead(), 2u);
}

}  // namespace machine::overlay
