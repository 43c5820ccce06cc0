#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <utility>

#include "Brantix/PathManagement/pathdef_text.hpp"
#include "fl/filesystem/operations.hpp"
#include "foundation/storage/vfs/Exception.hpp"
#include "registration/commands/GeneratePathDef.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/local_storage.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/trouble_capture.hpp"
#include "tests/support/user_language.hpp"

namespace registration::commands {
namespace {

namespace vfs = foundation::storage::vfs;
using Lines = std::vector<UString>;

class GeneratePathDefTest : public tests::CommandTest {
 protected:
  GeneratePathDefTest() {
    fl::filesystem::create_directories(bundles() / u"bin\\win64\\vfs");
    fl::filesystem::create_directories(product());
  }

  Path bundles() const { return root() / u"bundles"; }
  Path product() const { return root() / u"product"; }
  Path pathdef() const { return product() / u"sys\\path\\pathdef.vsc"; }

  utility::Options options() const { return optionsWith(product().ustring()); }
  utility::Options optionsWith(UString const& rootPath) const {
    utility::Options::Values values;
    values.bundleRootPath = bundles().ustring();
    values.rootPath = rootPath;
    return utility::Options(values);
  }

  Lines execute() { return execute(options()); }
  static Lines execute(utility::Options const& given) {
    tests::LogCapture log;
    GeneratePathDef(given).execute();
    return log.messages();
  }
  Lines undo() {
    tests::LogCapture log;
    GeneratePathDef(options()).undo();
    return log.messages();
  }
  Lines generated() const {
    return {u"Generating pathdef.vsc for " + product().ustring(),
            u"Successfully generated pathdef.vsc for " + product().ustring()};
  }
  Lines failed(UString const& reason) const {
    return {u"Generating pathdef.vsc for " + product().ustring(),
            u"Failed to generate pathdef.vsc for " + product().ustring() + u". Error: " + reason};
  }
  UString quoted(Path const& path) const { return u"\"" + path.ustring() + u"\""; }

  /// Folders of the product that `ssiSearchFolders` lists; they are made.
  void install(std::vector<UString> const& folders) {
    std::string lines;
    for (auto const& folder : folders) {
      fl::filesystem::create_directories(product() / folder);
      lines += fl::i18n::to_string(folder) + "\n";
    }
    writeFile(product() / u"ssiSearchFolders", lines);
  }
  void writePathdef(Lines const& entries) {
    UString text = u"pathdef 1\n";
    for (auto const& entry : entries) {
      text += u"\"" + entry + u"\"\n";
    }
    writeFile(pathdef(), fl::i18n::to_string(text));
  }
  /// The entries of the definition file as it spells them.
  Lines entries() {
    Lines lines;
    std::string const text = readFile(pathdef());
    EXPECT_TRUE(text.starts_with("pathdef 1\n")) << text;
    for (std::size_t at = text.find("\n\""); at != std::string::npos; at = text.find("\n\"", at)) {
      at += 2;
      lines.push_back(fl::i18n::to_ustring(text.substr(at, text.find("\"\n", at) - at)));
    }
    return lines;
  }
  /// What happens when every such operation on the definition file fails.
  Lines executeFailing(std::string const& operation, machine::ErrorCode code) {
    tests::FaultyMachine faulty(machine());
    faulty.faults().failWhen(
        [&](std::string_view name, std::u16string_view subject) {
          return name == operation && subject.find(u"pathdef.vsc") != subject.npos;
        },
        code);
    machine::ScopedMachine const scope(faulty);
    return execute();
  }

 private:
  tests::UserLanguage english_{registry(), u"en-US"};
  tests::OfferedStorage storage_;
};

TEST_F(GeneratePathDefTest, WithoutAnOldFileOnlyTheDerivedEntriesAreWritten) {
  install({u"b", u"a"});
  writeFile(product() / u"toolbox\\signal\\f.vt", "");
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), (Lines{u"$root\\b", u"$root\\a", u"$root\\toolbox\\signal"}));
}

TEST_F(GeneratePathDefTest, OldEntriesComeFirstAndDerivedOnesAfterThem) {
  Path const elsewhere = root() / u"100% gr\u00f6\u00dfe's";
  fl::filesystem::create_directories(elsewhere);
  install({u"a", u"b"});
  fl::filesystem::create_directories(product() / u"old");
  writePathdef({elsewhere.ustring(), u"$root\\old"});
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), (Lines{elsewhere.ustring(), u"$root\\old", u"$root\\a", u"$root\\b"}));
}

TEST_F(GeneratePathDefTest, AnEntryListedTwiceStandsOnceAtItsFirstPlace) {
  install({u"a", u"b", u"c"});
  writePathdef({u"$root\\C", u"$root\\a", u"$root\\c", (product() / u"A\\").ustring()});
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), (Lines{u"$root\\C", u"$root\\a", u"$root\\b"}));
}

TEST_F(GeneratePathDefTest, AnEntryWhoseFolderIsGoneIsDropped) {
  install({u"a", u"b", u"c"});
  execute();
  ASSERT_EQ(entries(), (Lines{u"$root\\a", u"$root\\b", u"$root\\c"}));
  fl::filesystem::remove(product() / u"b");
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), (Lines{u"$root\\a", u"$root\\c"}));
}

TEST_F(GeneratePathDefTest, AnEntryThatIsAFileIsDropped) {
  install({u"a"});
  writeFile(product() / u"file", "");
  writePathdef({u"$root\\file"});
  execute();
  EXPECT_EQ(entries(), Lines{u"$root\\a"});
}

TEST_F(GeneratePathDefTest, AnEmptyInstallationGetsAFileWithoutEntries) {
  EXPECT_EQ(execute(), generated());
  EXPECT_TRUE(entries().empty());
}

TEST_F(GeneratePathDefTest, ASecondRunChangesNothing) {
  install({u"b", u"a"});
  execute();
  auto const first = readFile(pathdef());
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(readFile(pathdef()), first);
}

TEST_F(GeneratePathDefTest, UndoWritesTheFileAgainForWhatRemains) {
  install({u"a", u"b"});
  execute();
  fl::filesystem::remove(product() / u"a");
  EXPECT_EQ(undo(), (Lines{u"Regenerating pathdef.vsc for " + product().ustring(),
                           u"Successfully regenerated pathdef.vsc for " + product().ustring()}));
  EXPECT_EQ(entries(), Lines{u"$root\\b"});
}

TEST_F(GeneratePathDefTest, UndoNeedsNoExecuteBefore) {
  install({u"a"});
  undo();
  EXPECT_EQ(entries(), Lines{u"$root\\a"});
}

TEST_F(GeneratePathDefTest, AFailureDuringUndoIsWordedAsOneOfExecute) {
  fl::filesystem::remove_all(product());
  EXPECT_EQ(undo(), (Lines{u"Regenerating pathdef.vsc for " + product().ustring(),
                           u"Failed to generate pathdef.vsc for " + product().ustring() +
                               u". Error: " + quoted(product()) + u" was not found."}));
}

TEST_F(GeneratePathDefTest, MalformedLinesAreLeftOutAndLoseNothingElse) {
  install({u"a", u"b"});
  writeFile(pathdef(), "pathdef 1\n\"$root\\b\"\nrubbish\n\"C:\\\xFF\"\n\"$root\\..\\x\"\n");
  tests::TroubleCapture const trouble;
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), (Lines{u"$root\\b", u"$root\\a"}));
  EXPECT_EQ(trouble.warnings(pathdef().ustring() + u", line "), 3u) << "what is lost is told";
  EXPECT_EQ(trouble.warnings(u"line 3"), 1u);
  EXPECT_EQ(trouble.reports().front().subject, pathdef().ustring());
}

TEST_F(GeneratePathDefTest, AFailureIsToldToo) {
  fl::filesystem::remove_all(product());
  tests::TroubleCapture const trouble;
  execute();
  EXPECT_EQ(trouble.errors(u"Failed to generate pathdef.vsc for "), 1u);
  EXPECT_EQ(trouble.reports().size(), 1u);
}

TEST_F(GeneratePathDefTest, AnInstallationThatIsMissingIsNotMade) {
  fl::filesystem::remove_all(product());
  EXPECT_EQ(execute(), failed(quoted(product()) + u" was not found."));
  EXPECT_FALSE(exists(product()));
}

TEST_F(GeneratePathDefTest, AnEmptyInstallationFolderIsAFailure) {
  EXPECT_EQ(execute(optionsWith(u"")),
            (Lines{u"Generating pathdef.vsc for ",
                   u"Failed to generate pathdef.vsc for . Error: \"\" is not a valid location of a "
                   u"file or folder."}));
}

TEST_F(GeneratePathDefTest, TheMessageSpeaksTheUsersLanguage) {
  fl::filesystem::remove_all(product());
  tests::UserLanguage const german(registry(), u"de-DE");
  EXPECT_EQ(execute(), failed(u"\u201e" + product().ustring() + u"\u201c wurde nicht gefunden."));
}

TEST_F(GeneratePathDefTest, AnOldFileOfMoreThan16MebibytesIsTooLargeAndStays) {
  install({u"a"});
  constexpr std::size_t hundredMegabytes = 100'000'000;
  writeFile(pathdef(), std::string(hundredMegabytes, '\n'));
  EXPECT_EQ(execute(), failed(quoted(pathdef()) + u" is too large."));
  EXPECT_EQ(files().status(pathdef().ustring())->size, hundredMegabytes);
}

TEST_F(GeneratePathDefTest, AFolderInPlaceOfTheFileIsAFailure) {
  install({u"a"});
  fl::filesystem::create_directories(pathdef());
  EXPECT_EQ(execute(),
            failed(quoted(pathdef()) + u" is not a valid location of a file or folder."));
  EXPECT_FALSE(exists(Path(pathdef().ustring() + u".tmp")));
}

TEST_F(GeneratePathDefTest, AFileInPlaceOfTheFoldersAboveIsAnUnexpectedError) {
  install({u"a"});
  writeFile(product() / u"sys", "");
  EXPECT_EQ(execute(), failed(u"Unexpected error code from vfs::Exception"));
}

TEST_F(GeneratePathDefTest, AFullDiskLeavesTheOldFileAndNothingBeside) {
  install({u"a"});
  writePathdef({});
  auto const old = readFile(pathdef());
  EXPECT_EQ(executeFailing("FileWriter::write", machine::ErrorCode::diskFull),
            failed(u"There is no space left for " + quoted(pathdef()) + u"."));
  EXPECT_EQ(readFile(pathdef()), old);
  EXPECT_FALSE(exists(Path(pathdef().ustring() + u".tmp")));
}

TEST_F(GeneratePathDefTest, AnOldFileThatMayNotBeReadIsAFailure) {
  install({u"a"});
  writePathdef({});
  EXPECT_EQ(executeFailing("openForReading", machine::ErrorCode::accessDenied),
            failed(u"The permission to use " + quoted(pathdef()) + u" is missing."));
}

TEST_F(GeneratePathDefTest, WhateverCallOfStorageFailsTheOldFileStaysAndNothingIsLeftBeside) {
  install({u"a"});
  writeFile(product() / u"toolbox\\a\\a.vt", "");
  writePathdef({u"$root\\a"});
  auto const old = readFile(pathdef());
  tests::FaultyMachine faulty(machine());
  // What comes before is the bundles', and leaves the command.
  faulty.faults().failNever();
  machine::ScopedMachine const scope(faulty);
  execute();
  auto const& operations = faulty.faults().operations();
  auto const bundleSteps = static_cast<std::size_t>(
      std::find(operations.begin(), operations.end(), "admitBundles") - operations.begin() + 1);
  std::size_t reported = 0;
  for (std::size_t n = bundleSteps + 1;; ++n) {
    writeFile(pathdef(), old);
    faulty.faults().failAt(n, machine::ErrorCode::ioDevice);
    auto const log = execute();
    bool const reached = faulty.faults().count() >= n;
    faulty.faults().failNever();
    if (!reached) {
      break;
    }
    EXPECT_FALSE(exists(Path(pathdef().ustring() + u".tmp"))) << n;
    if (log != generated()) {
      ++reported;
      EXPECT_TRUE(log.at(1).starts_with(u"Failed to generate pathdef.vsc for ")) << n;
      EXPECT_EQ(readFile(pathdef()), old) << n;
    }
  }
  EXPECT_GT(reported, 10u);
}

TEST_F(GeneratePathDefTest, AMissingBundleFolderLeavesTheCommandAsARuntimeError) {
  fl::filesystem::remove_all(bundles());
  tests::LogCapture log;
  try {
    GeneratePathDef(options()).execute();
    ADD_FAILURE();
  } catch (std::runtime_error const& failure) {
    EXPECT_EQ(typeid(failure), typeid(std::runtime_error));
    EXPECT_THAT(
        failure.what(),
        ::testing::HasSubstr(fl::i18n::to_string((bundles() / u"bin\\win64\\vfs").ustring())));
  }
  EXPECT_EQ(log.messages(), Lines{u"Generating pathdef.vsc for " + product().ustring()});
}

TEST_F(GeneratePathDefTest, ABundleRootWithForwardSlashesIsMadeNative) {
  utility::Options::Values values;
  values.bundleRootPath = bundles().ustring();
  std::replace(values.bundleRootPath.begin(), values.bundleRootPath.end(), u'\\', u'/');
  values.rootPath = product().ustring();
  EXPECT_EQ(execute(utility::Options(values)), generated());
}

TEST_F(GeneratePathDefTest, WithoutABundleRootTheFolderIsRelative) {
  utility::Options::Values values;
  values.rootPath = product().ustring();
  auto const before = fl::filesystem::get_current_path();
  ASSERT_TRUE(fl::filesystem::change_current_path(bundles()));
  auto const log = execute(utility::Options(values));
  fl::filesystem::change_current_path(before);
  EXPECT_EQ(log, generated());
}

TEST_F(GeneratePathDefTest, ACopyAndAMovedOneDoWhatTheirSourceDoes) {
  GeneratePathDef source(options());
  tests::LogCapture log;
  GeneratePathDef(source).execute();
  EXPECT_EQ(log.messages(), generated());
  GeneratePathDef const moved(std::move(source));
  moved.execute();
  source.execute();  // NOLINT(bugprone-use-after-move): its options were copied
  EXPECT_EQ(log.messages().size(), 6u);
  EXPECT_EQ(log.messages().back(), generated().back());
}

#if !defined(_WIN32)
namespace fs = std::filesystem;

TEST_F(GeneratePathDefTest, AReadOnlyFileStays) {
  install({u"a"});
  writePathdef({});
  auto const old = readFile(pathdef());
  fs::permissions(hostPath(pathdef().ustring()), fs::perms::owner_read);
  EXPECT_EQ(execute(), failed(u"The permission to use " + quoted(pathdef()) + u" is missing."));
  EXPECT_EQ(readFile(pathdef()), old);
  EXPECT_FALSE(exists(Path(pathdef().ustring() + u".tmp")));
}

TEST_F(GeneratePathDefTest, LinksInARingAreNoFolders) {
  install({u"a"});
  fs::create_directory_symlink("ring2", hostPath((product() / u"ring1").ustring()));
  fs::create_directory_symlink("ring1", hostPath((product() / u"ring2").ustring()));
  fl::filesystem::create_directories(product() / u"toolbox");
  fs::create_directory_symlink("..", hostPath((product() / u"toolbox\\up").ustring()));
  writePathdef({u"$root\\ring1", u"$root\\ring2\\x"});
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), Lines{u"$root\\a"});
}

TEST_F(GeneratePathDefTest, ADefinitionFileThatIsALinkInARingIsReplaced) {
  install({u"a"});
  fl::filesystem::create_directories(pathdef().parent_path());
  fs::create_symlink("pathdef.vsc", hostPath(pathdef().ustring()));
  EXPECT_EQ(execute(), generated());
  EXPECT_EQ(entries(), Lines{u"$root\\a"});
}
#endif

TEST(GeneratePathDefWithoutStorage, AMissingProviderIsReported) {
  class Unbundled : public GeneratePathDef {
   public:
    using GeneratePathDef::GeneratePathDef;
    mutable Lines log;

   protected:
    void log_message(UString const& message) const override { log.push_back(message); }
    void loadVFSMicroServices() const override {}
    vfs::CanonicalAbsoluteIRI getVortanRoot() const override {
      return vfs::CanonicalAbsoluteIRI::ofWindowsPath(u"C:\\a");
    }
    void handleVfsException(vfs::Exception const& failure) const override {
      EXPECT_EQ(failure.getErrorCode(), vfs::ErrorCode::resourceNotFound);
      log.push_back(failure.getLocation());
    }
  };
  Unbundled const command(tests::plainOptions());
  command.execute();
  EXPECT_EQ(command.log,
            (Lines{u"Generating pathdef.vsc for ", u"foundation::storage::vfs::StorageProvider"}));
}

/// Its steps replaced, as an installer's derived class would.
class Replaced : public GeneratePathDef {
 public:
  Replaced(utility::Options const& given, std::function<void()> generate)
      : GeneratePathDef(given), generate_(std::move(generate)) {}
  using GeneratePathDef::handleVfsException;
  mutable Lines log;
  UString failingMessage = u"none";

 protected:
  void generatePathDefFile() const override { generate_(); }
  void log_message(UString const& message) const override {
    log.push_back(message);
    if (message.starts_with(failingMessage)) {
      throw vfs::Exception(vfs::ErrorCode::operationCancelled, u"");
    }
  }

 private:
  std::function<void()> generate_;
};

class HandleVfsException : public tests::CommandTest {
 protected:
  /// What is logged after the fixed words for a failure at `C:\somewhere`.
  UString reason(int code) const {
    Replaced const command(tests::withRoot(u"C:\\product"), [] {});
    command.handleVfsException(vfs::Exception(vfs::ErrorCode{code}, u"C:\\somewhere"));
    UString const words = u"Failed to generate pathdef.vsc for C:\\product. Error: ";
    EXPECT_EQ(command.log.size(), 1u);
    EXPECT_TRUE(command.log[0].starts_with(words));
    return command.log[0].substr(words.size());
  }

 private:
  tests::UserLanguage english_{registry(), u"en-US"};
};

TEST_F(HandleVfsException, NineCodesHaveATextWithTheLocation) {
  EXPECT_EQ(reason(1), u"\"C:\\somewhere\" is not a valid location of a file or folder.");
  EXPECT_EQ(reason(2), u"The permission to use \"C:\\somewhere\" is missing.");
  EXPECT_EQ(reason(4), u"\"C:\\somewhere\" was not found.");
  EXPECT_EQ(reason(5), u"\"C:\\somewhere\" is on a medium that cannot be written.");
  EXPECT_EQ(reason(6), u"\"C:\\somewhere\" is too large.");
  EXPECT_EQ(reason(7), u"\"C:\\somewhere\" is in use by another program.");
  EXPECT_EQ(reason(8), u"There is no space left for \"C:\\somewhere\".");
  EXPECT_EQ(reason(9),
            u"\"C:\\somewhere\" could not be read or written because of a device error.");
  EXPECT_EQ(reason(12), u"An unknown error occurred at \"C:\\somewhere\".");
}

TEST_F(HandleVfsException, EveryOtherCodeIsUnexpected) {
  for (int const code : {3, 10, 11, 0, 13, -1, 1'000'000}) {
    EXPECT_EQ(reason(code), u"Unexpected error code from vfs::Exception") << code;
  }
}

TEST(GeneratePathDef, AFailureIsLoggedInOneLineWithoutFurtherSeparators) {
  Replaced const command(tests::withRoot(u"C:\\product"), [] {
    throw vfs::Exception(vfs::ErrorCode::resourceAlreadyExists, u"C:\\x");
  });
  command.execute();
  EXPECT_EQ(command.log, (Lines{u"Generating pathdef.vsc for C:\\product",
                                u"Failed to generate pathdef.vsc for C:\\product. Error: "
                                u"Unexpected error code from vfs::Exception"}));
}

TEST(GeneratePathDef, AFailureWhileLoggingIsHandledToo) {
  for (auto const* failing : {u"Generating", u"Successfully"}) {
    bool generated = false;
    Replaced command(tests::withRoot(u"C:\\product"), [&] { generated = true; });
    command.failingMessage = failing;
    command.execute();
    EXPECT_EQ(command.log.back(),
              u"Failed to generate pathdef.vsc for C:\\product. Error: Unexpected error code from "
              u"vfs::Exception");
    EXPECT_EQ(generated, UString(failing) == u"Successfully");
  }
}

TEST(GeneratePathDef, OtherExceptionsReachTheInstallerAsTheyAre) {
  Replaced const odd(tests::plainOptions(), [] { throw 42; });
  EXPECT_THROW(odd.execute(), int);
  Replaced const standard(tests::plainOptions(), [] { throw std::logic_error("x"); });
  EXPECT_THROW(standard.undo(), std::logic_error);
  EXPECT_EQ(standard.log, Lines{u"Regenerating pathdef.vsc for "});
}

}  // namespace
}  // namespace registration::commands
