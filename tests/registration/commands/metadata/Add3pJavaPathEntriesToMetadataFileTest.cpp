#include <gtest/gtest.h>

#include <stdexcept>

#include "registration/commands/Add3pJavaPathEntriesToMetadataFile.hpp"
#include "registration/commands/AddJavaPathEntriesToMetadataFile.hpp"
#include "tests/registration/commands/metadata/third_party_fixture.hpp"

namespace registration::commands {
namespace {

using tests::Lines;
using tests::metadataHeader;

struct Exposed : Add3pJavaPathEntriesToMetadataFile {
  using Add3pJavaPathEntriesToMetadataFile::Add3pJavaPathEntriesToMetadataFile;
  using Add3pJavaPathEntriesToMetadataFile::getJavaClassPathsFromInstrSetMap;
  using Add3pJavaPathEntriesToMetadataFile::writePathEntriesToFile;
};

class Add3pJavaPathEntries : public tests::CommandTest {
 protected:
  Path written() const { return root() / u"javaClassPath"; }
  UString makeFile(std::u16string_view name) {
    Path const file = root() / UString(name);
    writeFile(file, "");
    return file.ustring();
  }
  static std::string line(UString const& entry) { return fl::i18n::ustring_to_utf8(entry) + "\n"; }
  Lines write(std::vector<UString> const& entries) {
    tests::LogCapture const log;
    Exposed(tests::plainOptions()).writePathEntriesToFile(root().ustring(), entries);
    return log.messages();
  }
};

Lines const successfulRun{u"Adding 3p java path entries to metadata file",
                          u"Successfully added 3p java path entries to metadata file"};

TEST_F(Add3pJavaPathEntries, FileIsHeaderAndEntriesInTheirOrderAsOftenAsTheyAreGiven) {
  auto const a = makeFile(u"a.jar");
  auto const b = makeFile(u"b \u00e4.jar");
  EXPECT_EQ(write({b, a, b}), successfulRun);
  EXPECT_EQ(readFile(written()), metadataHeader + line(b) + line(a) + line(b));
}

TEST_F(Add3pJavaPathEntries, EntriesOfTheProductsOwnCommandAreLost) {
  auto const own = makeFile(u"own.jar");
  auto const other = makeFile(u"other.jar");
  writeFile(root() / u"x.jcp", "$vortanroot/own.jar\n");
  tests::LogCapture const log;
  AddJavaPathEntriesToMetadataFile(tests::withMetadataRoot(root())).execute();
  EXPECT_EQ(readFile(written()), metadataHeader + line(own));
  tests::WithSets<Exposed>(
      root(), {{root().ustring(), {{}, {}, {"$IS_ROOT_DIR$IS_FILE_SEPother.jar"}, {}}}})
      .execute();
  EXPECT_EQ(readFile(written()), metadataHeader + line(other));
  AddJavaPathEntriesToMetadataFile(tests::withMetadataRoot(root())).execute();
  EXPECT_EQ(readFile(written()), metadataHeader + line(other) + line(own)) << "and come back";
}

TEST_F(Add3pJavaPathEntries, SecondRunLeavesTheSameFile) {
  auto const a = makeFile(u"a.jar");
  write({a});
  write({a});
  EXPECT_EQ(readFile(written()), metadataHeader + line(a));
}

TEST_F(Add3pJavaPathEntries, EntryThatDoesNotExistIsLeftOutSilently) {
  EXPECT_EQ(write({(root() / u"missing.jar").ustring()}), successfulRun);
  EXPECT_EQ(readFile(written()), metadataHeader) << "what was there before is gone all the same";
}

TEST_F(Add3pJavaPathEntries, WithoutEntriesTheFileIsNotTouched) {
  writeFile(written(), "old\n");
  EXPECT_EQ(write({}), Lines{});
  EXPECT_EQ(readFile(written()), "old\n");
}

TEST_F(Add3pJavaPathEntries, TextsAreExpandedAndKeptInOrder) {
  tests::WithSets<Exposed> const command(
      root(),
      {{u"C:\\R", {{}, {"C:\\folder"}, {"$IS_ROOT_DIR$IS_FILE_SEPz", "a", "\xC3\xA4", "a"}, {}}}});
  EXPECT_EQ(command.getJavaClassPathsFromInstrSetMap(u"C:\\p"),
            (std::vector<UString>{u"C:\\R\\z", u"a", u"\u00e4", u"a"}));
}

TEST_F(Add3pJavaPathEntries, EntryThatFailsIsLoggedAndTheNextOnesWritten) {
  auto const bad = makeFile(u"bad.jar");
  auto const good = makeFile(u"good.jar");
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen(
      [](std::string_view operation, std::u16string_view subject) {
        bool const isBad = operation == "status" && subject.ends_with(u"bad.jar");
        return isBad ? throw std::runtime_error("broken") : false;
      },
      machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_EQ(write({bad, good}), (Lines{successfulRun[0], u"Error writing to 3p javaClassPath",
                                       u"broken", successfulRun[1]}));
  EXPECT_EQ(readFile(written()), metadataHeader + line(good));
}

}  // namespace
}  // namespace registration::commands
