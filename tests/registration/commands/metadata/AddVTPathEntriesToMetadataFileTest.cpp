#include <gtest/gtest.h>

#include <stdexcept>

#include "fl/filesystem/line_reader.hpp"
#include "fl/filesystem/operations.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"
#include "tests/support/command_fixture.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/huge_file.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/options.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using Lines = std::vector<UString>;
using Entries = std::set<UString>;

Lines const successfulRun{u"Adding path entries to metadata file",
                          u"Successfully added path entries to metadata file"};

/// Opens the protected operations to the tests.
class Exposed : public AddVTPathEntriesToMetadataFile {
 public:
  using AddVTPathEntriesToMetadataFile::AddVTPathEntriesToMetadataFile;
  using AddVTPathEntriesToMetadataFile::getAllPhlFiles;
  using AddVTPathEntriesToMetadataFile::readAllPhlFiles;
  using AddVTPathEntriesToMetadataFile::readPhlFile;
  using AddVTPathEntriesToMetadataFile::writePathEntriesToFile;
};

class AddVTPathEntries : public tests::CommandTest {
 protected:
  Path written() const { return root() / u"ssiSearchFolders"; }
  void makeFolders(std::initializer_list<char16_t const*> folders) {
    for (auto const* folder : folders) {
      fl::filesystem::create_directories(root() / folder);
    }
  }
  Lines execute() {
    tests::LogCapture log;
    AddVTPathEntriesToMetadataFile(tests::withMetadataRoot(root())).execute();
    return log.messages();
  }
};

TEST_F(AddVTPathEntries, WritesTheExistingFoldersOfEveryPhlFileSortedAndOnce) {
  makeFolders({u"toolbox\\b", u"toolbox\\a", u"x"});
  writeFile(root() / u"one.phl", "toolbox\\b\ntoolbox\\missing\n");
  writeFile(root() / u"x\\two.phl", "toolbox\\a\ntoolbox\\b\n");
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "toolbox\\a\ntoolbox\\b\n");
}

/// It is looked for below the root here, and on the server by who reads the file that is written.
TEST_F(AddVTPathEntries, AnEntryOnAnotherServerIsToldWithItsLine) {
  makeFolders({u"evil\\share"});
  writeFile(root() / u"one.phl", "% a comment\n\\\\evil\\share\nevil\\share\n");
  tests::TroubleCapture const trouble;
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "\\\\evil\\share\nevil\\share\n");
  EXPECT_EQ(
      trouble.warnings((root() / u"one.phl").ustring() +
                       u":2: \\\\evil\\share leads to evil, not to where the product is: this "
                       u"computer makes itself known there"),
      1u);
  EXPECT_EQ(trouble.reports().size(), 1u);
}

TEST_F(AddVTPathEntries, NoPhlFileLeavesAnEmptyFile) {
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "");
}

TEST_F(AddVTPathEntries, AnExistingFileIsReplaced) {
  writeFile(written(), "# old content\nstale\n");
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "");
}

TEST_F(AddVTPathEntries, LinesAreTrimmedAndCommentsSkipped) {
  makeFolders({u"toolbox"});
  writeFile(root() / u"a.phl", "\r\n \t toolbox \t\r\n% comment\n  %toolbox\n\n   \n# toolbox");
  execute();
  EXPECT_EQ(readFile(written()), "toolbox\n");
}

TEST_F(AddVTPathEntries, LastLineNeedsNoLineFeed) {
  makeFolders({u"a", u"b"});
  writeFile(root() / u"a.phl", "a\nb");
  execute();
  EXPECT_EQ(readFile(written()), "a\nb\n");
}

TEST_F(AddVTPathEntries, ExtensionIsCaseSensitive) {
  makeFolders({u"a", u"b", u"c", u"d"});
  writeFile(root() / u"x.PHL", "a\n");
  writeFile(root() / u"y.phlx", "b\n");
  writeFile(root() / u"phl", "c\n");
  writeFile(root() / u".phl", "d\n");
  execute();
  EXPECT_EQ(readFile(written()), "");
}

TEST_F(AddVTPathEntries, FileTenLevelsDeepIsRead) {
  makeFolders({u"found", u"1\\2\\3\\4\\5\\6\\7\\8\\9\\10"});
  writeFile(root() / u"1\\2\\3\\4\\5\\6\\7\\8\\9\\10\\deep.phl", "found\n");
  execute();
  EXPECT_EQ(readFile(written()), "found\n");
}

TEST_F(AddVTPathEntries, FolderNamedLikeAListIsNotRead) {
  makeFolders({u"folder.phl", u"a"});
  writeFile(root() / u"folder.phl\\in.phl", "a\n");
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "a\n");
}

TEST_F(AddVTPathEntries, EntriesAreTakenAsTheyStand) {
  makeFolders({u"tool box\\x", u"\u00e4\u65e5"});
  writeFile(root() / u"a.phl", "tool box/x\n\xC3\xA4\xE6\x97\xA5\n$vortanroot\n");
  execute();
  EXPECT_EQ(readFile(written()), "tool box/x\n\xC3\xA4\xE6\x97\xA5\n");
}

TEST_F(AddVTPathEntries, UndoDoesTheSameAsExecute) {
  makeFolders({u"a"});
  writeFile(root() / u"a.phl", "a\n");
  execute();
  auto const afterExecute = readFile(written());
  tests::LogCapture log;
  AddVTPathEntriesToMetadataFile(tests::withMetadataRoot(root())).undo();
  EXPECT_EQ(readFile(written()), afterExecute);
  EXPECT_EQ(log.messages(), successfulRun);
}

TEST_F(AddVTPathEntries, RootWithForwardSlashesIsMadeNative) {
  makeFolders({u"a"});
  writeFile(root() / u"a.phl", "a\n");
  UString forward = root().ustring();
  std::replace(forward.begin(), forward.end(), u'\\', u'/');
  AddVTPathEntriesToMetadataFile(tests::withMetadataRoot(Path(forward))).execute();
  EXPECT_EQ(readFile(written()), "a\n");
}

TEST_F(AddVTPathEntries, MissingRootIsReportedAndStillSucceeds) {
  tests::LogCapture log;
  AddVTPathEntriesToMetadataFile(tests::withMetadataRoot(root() / u"missing")).execute();
  ASSERT_EQ(log.messages().size(), 4u);
  EXPECT_EQ(log.messages()[1], u"Error getting all PHL files");
  EXPECT_NE(log.messages()[2].find(u"missing"), UString::npos) << "names the folder";
  EXPECT_EQ(log.messages()[3], u"Successfully added path entries to metadata file")
      << "a file that cannot be created is silent";
}

TEST_F(AddVTPathEntries, PhlFileThatCannotBeOpenedIsNamedAndTheOthersUsed) {
  makeFolders({u"a"});
  writeFile(root() / u"good.phl", "a\n");
  writeFile(root() / u"bad.phl", "a\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        return operation == "openForReading" && subject.ends_with(u"bad.phl");
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(execute(),
            (Lines{successfulRun[0], u"Unable to open phl file: " + (root() / u"bad.phl").ustring(),
                   successfulRun[1]}));
  EXPECT_EQ(readFile(written()), "a\n");
}

TEST_F(AddVTPathEntries, FailedWalkUsesWhatWasFound) {
  makeFolders({u"a", u"closed"});
  writeFile(root() / u"a\\first.phl", "a\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        return operation == "openDirectory" && subject.ends_with(u"closed");
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  auto const files = [&] {
    tests::LogCapture log;
    auto const found = Exposed(tests::withMetadataRoot(root())).getAllPhlFiles(root());
    EXPECT_EQ(log.messages().size(), 2u);
    EXPECT_EQ(log.messages().front(), u"Error getting all PHL files");
    return found;
  }();
  EXPECT_LE(files.size(), 1u)
      << "whether it was met before the closed folder is the system's order";
  auto const log = execute();
  EXPECT_EQ(log.back(), successfulRun[1]);
}

TEST_F(AddVTPathEntries, FileThatCannotBeCreatedIsSilent) {
  makeFolders({u"a"});
  writeFile(root() / u"a.phl", "a\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "openForWriting"; },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_FALSE(fl::filesystem::exists(written()));
}

TEST_F(AddVTPathEntries, FailedWritesAreSilent) {
  makeFolders({u"a"});
  writeFile(root() / u"a.phl", "a\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen([](std::string_view operation,
                              std::u16string_view) { return operation == "FileWriter::write"; },
                           machine::ErrorCode::diskFull);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(execute(), successfulRun);
}

TEST_F(AddVTPathEntries, WhatCannotBeWrittenIsToldAndTheOldFileStaysAsItWas) {
  makeFolders({u"a"});
  writeFile(root() / u"a.phl", "a\n");
  for (std::string const failing :
       {"openForWriting", "FileWriter::write", "FileWriter::close", "rename"}) {
    writeFile(written(), "old\n");
    tests::FaultyMachine faulty(machine());
    faulty.faults().failWhen(
        [&](std::string_view operation, std::u16string_view) { return operation == failing; },
        machine::ErrorCode::diskFull);
    tests::TroubleCapture const trouble;
    {
      machine::ScopedMachine const scope(faulty);
      EXPECT_EQ(execute(), successfulRun) << failing;
    }
    EXPECT_EQ(readFile(written()), "old\n") << failing;
    ASSERT_EQ(trouble.reports().size(), 1u) << failing;
    EXPECT_EQ(trouble.errors(written().ustring() + u" could not be written: "), 1u) << failing;
    EXPECT_EQ(trouble.reports().front().subject, written().ustring());
    EXPECT_EQ(fl::filesystem::entry_names(root()).size(), 3u) << "nothing is left beside it";
  }
}

TEST_F(AddVTPathEntries, AReadOnlyFileIsDeletedAndMadeAnew) {
  makeFolders({u"a"});
  writeFile(root() / u"a.phl", "a\n");
  writeFile(written(), "old\n");
  files().setReadOnly(written().ustring(), true);
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "a\n");
}

TEST_F(AddVTPathEntries, AListThatCannotBeReadToItsEndLosesNoEntryOfTheOldFile) {
  makeFolders({u"a", u"b", u"c", u"new"});
  writeFile(root() / u"long.phl", "new\n" + std::string(100000, '%') + "\nc\n");
  writeFile(root() / u"other.phl", "a\n");
  writeFile(written(), "b\nc\ngone\n");
  tests::FaultyMachine faulty(machine());
  int reads = 0;
  faulty.faults().failWhen(
      [&](std::string_view operation, std::u16string_view subject) {
        return operation == "FileReader::read" && subject.ends_with(u"long.phl") && ++reads == 2;
      },
      machine::ErrorCode::ioDevice);
  tests::TroubleCapture const trouble;
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(execute(), successfulRun) << "no line of its own";
  EXPECT_EQ(readFile(written()), "a\nb\nc\nnew\n");
  EXPECT_EQ(trouble.errors(u"long.phl"), 1u);
  EXPECT_EQ(trouble.reports().size(), 1u);
}

TEST_F(AddVTPathEntries, ALineLongerThanAnyPathLosesOnlyItselfAndIsToldWithItsNumber) {
  makeFolders({u"a", u"b"});
  std::size_t const most = fl::filesystem::line_limits{}.line;
  for (auto const longer : {most + 1, 10 * most}) {
    writeFile(root() / u"list.phl", "a\n" + std::string(longer, 'x') + "\nb\n");
    tests::TroubleCapture const trouble;
    EXPECT_EQ(execute(), successfulRun) << "no line of its own";
    EXPECT_EQ(readFile(written()), "a\nb\n");
    ASSERT_EQ(trouble.texts().size(), 1u);
    EXPECT_EQ(trouble.texts().front(),
              fl::i18n::ustring_to_utf8((root() / u"list.phl").ustring()) +
                  ": line 2 is left out: longer than 131072 bytes, the most a line may be");
    EXPECT_EQ(trouble.reports().front().subject, (root() / u"list.phl").ustring());
  }
  writeFile(root() / u"list.phl", std::string(most, 'x') + "\nb\n");
  tests::TroubleCapture const trouble;
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(trouble.texts(), std::vector<std::string>{}) << "at the limit";
}

TEST_F(AddVTPathEntries, ACommentMayBeOfAnyLength) {
  makeFolders({u"a"});
  writeFile(root() / u"list.phl", "  %" + std::string(1'000'000, 'x') + "\na\n");
  tests::TroubleCapture const trouble;
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "a\n");
  EXPECT_EQ(trouble.texts(), std::vector<std::string>{});
}

TEST_F(AddVTPathEntries, AListLongerThanItMayBeIsReadToItsLimitAndLosesNoEntryOfTheOldFile) {
  makeFolders({u"a", u"b", u"old"});
  writeFile(root() / u"huge.phl", "");
  writeFile(root() / u"other.phl", "b\n");
  writeFile(written(), "old\n");
  tests::HugeFile huge(files(), (root() / u"huge.phl").ustring(), 100u << 20, 'x', "a\n");
  tests::SubstitutedMachine substituted(machine());
  substituted.replace(huge);
  machine::ScopedMachine const scope(substituted);
  tests::TroubleCapture const trouble;
  EXPECT_EQ(execute(), successfulRun);
  EXPECT_EQ(readFile(written()), "a\nb\nold\n");
  EXPECT_EQ(huge.bytesRead(), fl::filesystem::line_limits{}.text + 1) << "and not all of it";
  ASSERT_EQ(trouble.texts().size(), 1u);
  EXPECT_EQ(trouble.texts().front(),
            fl::i18n::ustring_to_utf8((root() / u"huge.phl").ustring()) +
                " is longer than 16777216 bytes, the most a list may be: what follows line 1 is "
                "left out");
}

TEST_F(AddVTPathEntries, WhenNeitherAListNorTheOldFileCanBeReadTheOldFileStays) {
  writeFile(root() / u"a.phl", "a\n");
  writeFile(written(), "old\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen([](std::string_view operation,
                              std::u16string_view) { return operation == "FileReader::read"; },
                           machine::ErrorCode::ioDevice);
  {
    machine::ScopedMachine const scope(faulty);
    auto const log = execute();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], u"Unable to add path entries to metadata file");
    EXPECT_NE(log[2].find(u"ssiSearchFolders"), UString::npos);
  }
  EXPECT_EQ(readFile(written()), "old\n");
}

TEST_F(AddVTPathEntries, FoldersThatCannotBeReadAreToldAndTheRestIsFound) {
  makeFolders({u"1", u"2", u"3", u"a"});
  for (auto const* folder : {u"1", u"2", u"3"}) {
    writeFile(root() / folder / u"x\\list.phl", "a\n");
  }
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        return operation == "openDirectory" &&
               (subject.ends_with(u"1\\x") || subject.ends_with(u"2\\x"));
      },
      machine::ErrorCode::fileNameTooLong);
  tests::TroubleCapture const trouble;
  machine::ScopedMachine const scope(faulty);
  auto const log = execute();
  ASSERT_EQ(log.size(), 4u) << "one failed search is two lines, however many folders it lost";
  EXPECT_EQ(log[1], u"Error getting all PHL files");
  EXPECT_EQ(log[3], successfulRun[1]);
  EXPECT_EQ(readFile(written()), "a\n") << "the third list was found";
  EXPECT_EQ(trouble.errors(u"1\\x"), 1u);
  EXPECT_EQ(trouble.errors(u"2\\x"), 1u);
}

#if !defined(_WIN32)
TEST_F(AddVTPathEntries, ATreeDeeperThanTheSystemCanOpenLosesOnlyWhatIsTooDeep) {
  makeFolders({u"a"});
  writeFile(root() / u"z\\list.phl", "a\n");
  // Made from within, for no path leads there.
  auto const before = std::filesystem::current_path();
  std::filesystem::current_path(hostPath(root().ustring()));
  std::string const name(200, 'd');
  constexpr int levels = 30;  // some 6,000 bytes, where the host takes 4,096
  for (int level = 0; level < levels; ++level) {
    std::filesystem::create_directory(name);
    std::filesystem::current_path(name);
  }
  std::filesystem::current_path(before);
  tests::TroubleCapture const trouble;
  auto const log = execute();
  EXPECT_EQ(log.size(), 4u);
  EXPECT_EQ(log.back(), successfulRun[1]);
  EXPECT_EQ(readFile(written()), "a\n");
  EXPECT_EQ(trouble.errors(u"Error getting all PHL files"), 1u);
}
#endif

TEST_F(AddVTPathEntries, FailuresThatAreLoggedAreToldWithTheirLines) {
  writeFile(root() / u"bad.phl", "a\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "openForReading"; },
      machine::ErrorCode::accessDenied);
  tests::TroubleCapture const trouble;
  machine::ScopedMachine const scope(faulty);
  execute();
  ASSERT_EQ(trouble.reports().size(), 1u);
  EXPECT_EQ(trouble.reports().front().logged_lines, 1u);
  EXPECT_EQ(trouble.reports().front().subject, (root() / u"bad.phl").ustring());
}

TEST_F(AddVTPathEntries, OldFileThatCannotBeDeletedFailsTheCommand) {
  writeFile(written(), "old\n");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view) { return operation == "removeFile"; },
      machine::ErrorCode::sharingViolation);
  machine::ScopedMachine const scope(faulty);
  auto const log = execute();
  ASSERT_EQ(log.size(), 3u);
  EXPECT_EQ(log[1], u"Unable to add path entries to metadata file");
  EXPECT_NE(log[2].find(u"ssiSearchFolders"), UString::npos);
  EXPECT_EQ(readFile(written()), "old\n");
}

TEST_F(AddVTPathEntries, EmptySetLeavesAnEmptyFile) {
  writeFile(written(), "old\n");
  Exposed(tests::plainOptions()).writePathEntriesToFile(root(), {});
  EXPECT_EQ(readFile(written()), "");
}

TEST_F(AddVTPathEntries, ReadAllIsTheUnionOfTheFiles) {
  writeFile(root() / u"1.phl", "b\na\n");
  writeFile(root() / u"2.phl", "c\na\n");
  Exposed const command(tests::plainOptions());
  EXPECT_EQ(command.readAllPhlFiles({root() / u"1.phl", root() / u"2.phl"}),
            (Entries{u"a", u"b", u"c"}));
}

TEST_F(AddVTPathEntries, TextThatIsNotUtf8IsReadWithReplacement) {
  writeFile(root() / u"1.phl", "a\xFFz\n");
  EXPECT_EQ(Exposed(tests::plainOptions()).readPhlFile(root() / u"1.phl"), Entries{u"a\uFFFDz"});
}

/// Workers replaced, as an installer's derived class would.
class Replaced : public AddVTPathEntriesToMetadataFile {
 public:
  Replaced(utility::Options const& given, std::function<void()> worker)
      : AddVTPathEntriesToMetadataFile(given), worker_(std::move(worker)) {}
  Lines mutable log;

 protected:
  void addVTPathEntriesToMetadataFile() const override { worker_(); }
  void log_message(UString const& message) const override { log.push_back(message); }

 private:
  std::function<void()> worker_;
};

TEST(AddVTPathEntriesToMetadataFile, StandardExceptionOfTheWorkerIsLoggedInTwoLines) {
  Replaced const command(tests::plainOptions(), [] { throw std::runtime_error("x"); });
  Lines const expected{u"Adding path entries to metadata file",
                       u"Unable to add path entries to metadata file", u"x"};
  command.execute();
  EXPECT_EQ(command.log, expected);
  command.log.clear();
  command.undo();
  EXPECT_EQ(command.log, expected);
}

TEST(AddVTPathEntriesToMetadataFile, OtherExceptionsReachTheInstallerAsTheyAre) {
  Replaced const command(tests::plainOptions(), [] { throw 42; });
  EXPECT_THROW(command.execute(), int);
  EXPECT_EQ(command.log, Lines{u"Adding path entries to metadata file"});
}

TEST_F(AddVTPathEntries, FileIsClosedWhenAForeignExceptionPasses) {
  struct FailingLog : Exposed {
    using Exposed::Exposed;
    void log_message(UString const&) const override { throw 42; }
  };
  makeFolders({u"a"});
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        return operation == "status" && subject.ends_with(u"\\a") ? throw 42 : false;
      },
      machine::ErrorCode::accessDenied);
  {
    machine::ScopedMachine const scope(faulty);
    EXPECT_THROW(FailingLog(tests::plainOptions()).writePathEntriesToFile(root(), {u"a"}), int);
  }
  EXPECT_NO_THROW(fl::filesystem::remove(written())) << "an open file could not be deleted";
  EXPECT_FALSE(fl::filesystem::exists(written()));
}

}  // namespace
}  // namespace registration::commands
