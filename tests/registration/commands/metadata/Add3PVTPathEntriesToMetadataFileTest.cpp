#include <gtest/gtest.h>

#include <stdexcept>

#include "fl/filesystem/operations.hpp"
#include "registration/commands/Add3PVTPathEntriesToMetadataFile.hpp"
#include "registration/commands/AddVTPathEntriesToMetadataFile.hpp"
#include "tests/registration/commands/metadata/third_party_fixture.hpp"
#include "tests/support/trouble_capture.hpp"

namespace registration::commands {
namespace {

using tests::Lines;

struct Exposed : Add3PVTPathEntriesToMetadataFile {
  using Add3PVTPathEntriesToMetadataFile::Add3PVTPathEntriesToMetadataFile;
  using Add3PVTPathEntriesToMetadataFile::getAll3pPathEntriesFromInstrSetMap;
  using Add3PVTPathEntriesToMetadataFile::write3pVTPathEntriesToFile;
};

class Add3PVTPathEntries : public tests::CommandTest {
 protected:
  Path metadataRoot() const { return root() / u"product"; }
  Path written() const { return metadataRoot() / u"ssiSearchFolders"; }
  Path makeFolder(std::u16string_view name) {
    Path const folder = root() / UString(name);
    fl::filesystem::create_directories(folder);
    return folder;
  }
  Lines write(std::vector<UString> const& entries) {
    makeFolder(u"product");
    tests::LogCapture const log;
    Exposed(tests::plainOptions()).write3pVTPathEntriesToFile(metadataRoot().ustring(), entries);
    return log.messages();
  }
};

Lines const successfulRun{u"Adding 3P path entries to metadata file",
                          u"Successfully added 3P path entries to metadata file"};

TEST_F(Add3PVTPathEntries, FolderBelowTheRootIsWrittenRelativeToIt) {
  EXPECT_EQ(write({makeFolder(u"product\\3p\\tool box").ustring()}), successfulRun);
  EXPECT_EQ(readFile(written()), "3p\\tool box\n") << "and no header";
}

TEST_F(Add3PVTPathEntries, FolderBesideTheRootIsWrittenWithDots) {
  write({makeFolder(u"elsewhere").ustring(), makeFolder(u"product").ustring()});
  EXPECT_EQ(readFile(written()), "..\\elsewhere\n.\n");
}

TEST_F(Add3PVTPathEntries, SameCommandTwiceWritesEverythingTwice) {
  auto const folder = makeFolder(u"product\\a").ustring();
  write({folder});
  write({folder});
  EXPECT_EQ(readFile(written()), "a\na\n");
}

TEST_F(Add3PVTPathEntries, TheNextEntryIsNotGluedToALastLineWithoutALineFeed) {
  auto const a = makeFolder(u"product\\a").ustring();
  writeFile(written(), "own");
  write({a});
  EXPECT_EQ(readFile(written()), "own\na\n");
}

TEST_F(Add3PVTPathEntries, AnEntryThatIsNotAbsoluteIsToldAndWrittenWhenItExists) {
  makeFolder(u"product\\a");
  auto const before = fl::filesystem::get_current_path();
  ASSERT_TRUE(fl::filesystem::change_current_path(metadataRoot()));
  tests::TroubleCapture const trouble;
  EXPECT_EQ(write({u"a", (metadataRoot() / u"a").ustring()}), successfulRun);
  fl::filesystem::change_current_path(before);
  EXPECT_EQ(readFile(written()), "a\na\n");
  ASSERT_EQ(trouble.reports().size(), 1u);
  EXPECT_EQ(trouble.warnings(u"a is not absolute"), 1u);
  EXPECT_EQ(trouble.reports().front().subject, u"a");
}

TEST_F(Add3PVTPathEntries, WhatTheProductsOwnCommandWroteStays) {
  makeFolder(u"product\\own");
  makeFolder(u"product\\other");
  writeFile(metadataRoot() / u"x.phl", "own\n");
  tests::LogCapture const log;
  AddVTPathEntriesToMetadataFile(tests::withMetadataRoot(metadataRoot())).execute();
  write({(metadataRoot() / u"other").ustring()});
  EXPECT_EQ(readFile(written()), "own\nother\n");
  AddVTPathEntriesToMetadataFile(tests::withMetadataRoot(metadataRoot())).execute();
  EXPECT_EQ(readFile(written()), "own\n") << "which rebuilds the file";
}

TEST_F(Add3PVTPathEntries, EntriesKeepTheirOrderAndAreWrittenAsOftenAsTheyAreGiven) {
  auto const a = makeFolder(u"product\\a").ustring();
  auto const b = makeFolder(u"product\\b").ustring();
  write({b, a, b});
  EXPECT_EQ(readFile(written()), "b\na\nb\n");
}

TEST_F(Add3PVTPathEntries, EntryThatDoesNotExistIsLeftOutSilently) {
  auto const a = makeFolder(u"product\\a").ustring();
  EXPECT_EQ(write({(root() / u"missing").ustring(), a}), successfulRun);
  EXPECT_EQ(readFile(written()), "a\n");
}

TEST_F(Add3PVTPathEntries, WithoutEntriesTheFileIsNotTouched) {
  writeFile(written(), "old\n");
  EXPECT_EQ(write({}), Lines{});
  EXPECT_EQ(readFile(written()), "old\n");
}

TEST_F(Add3PVTPathEntries, TextsAreExpandedInTheOrderOfTheSets) {
  tests::WithSets<Exposed> const command(
      root(),
      {{u"C:\\2", {{}, {"$IS_ROOT_DIR$IS_FILE_SEPb", "C:\\\xC3\xA4", "C:\\\xC3\xA4"}, {}, {}}},
       {u"C:\\1", {{}, {"$IS_ROOT_DIR/a"}, {"C:\\java"}, {}}}});
  EXPECT_EQ(command.getAll3pPathEntriesFromInstrSetMap(u"C:\\p"),
            (std::vector<UString>{u"C:\\1/a", u"C:\\2\\b", u"C:\\\u00e4", u"C:\\\u00e4"}));
}

TEST_F(Add3PVTPathEntries, EntryThatFailsIsLoggedAndTheNextOnesWritten) {
  auto const bad = makeFolder(u"product\\bad").ustring();
  auto const good = makeFolder(u"product\\good").ustring();
  tests::FaultyMachine faulty(machine());
  bool failed = false;
  faulty.faults().failWhen(
      [&failed](std::string_view operation, std::u16string_view) {
        return operation == "currentDirectory" && !std::exchange(failed, true);
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  tests::LogCapture const log;
  Exposed(tests::plainOptions()).write3pVTPathEntriesToFile(metadataRoot().ustring(), {bad, good});
  ASSERT_EQ(log.messages().size(), 4u);
  EXPECT_EQ(log.messages()[1], u"Error writing to ssiSearchFolders");
  EXPECT_FALSE(log.messages()[2].empty()) << "the exception's text";
  EXPECT_EQ(log.messages()[3], successfulRun[1]);
  EXPECT_EQ(readFile(written()), "good\n");
}

TEST_F(Add3PVTPathEntries, FileIsClosedWhenAForeignExceptionPasses) {
  auto const entry = makeFolder(u"product\\a").ustring();
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        return operation == "status" && subject.ends_with(u"\\a") ? throw 42 : false;
      },
      machine::ErrorCode::accessDenied);
  {
    machine::ScopedMachine const scope(faulty);
    EXPECT_THROW(write({entry}), int);
  }
  EXPECT_NO_THROW(fl::filesystem::remove(written())) << "an open file could not be deleted";
}

}  // namespace
}  // namespace registration::commands
