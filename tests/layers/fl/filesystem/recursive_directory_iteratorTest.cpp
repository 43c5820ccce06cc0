#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "fl/filesystem/recursive_directory_iterator.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace fl::filesystem {
namespace {

using ::machine::SystemError;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

std::vector<UString> pathsBelow(Path const& root) {
  std::vector<UString> paths;
  recursive_directory_walk walk(root);
  while (directory_entry const* entry = walk.next()) {
    paths.push_back(entry->path().ustring());
  }
  return paths;
}

class RecursiveDirectoryWalk : public tests::MachineTest {};

TEST_F(RecursiveDirectoryWalk, FindsNothingInAnEmptyFolder) {
  recursive_directory_walk walk(root());
  EXPECT_EQ(walk.next(), nullptr);
  EXPECT_EQ(walk.next(), nullptr);
}

TEST_F(RecursiveDirectoryWalk, ThrowsWhenTheRootCannotBeRead) {
  writeFile(at(u"a.txt"), "x");
  EXPECT_THROW(recursive_directory_walk{at(u"missing")}, SystemError);
  EXPECT_THROW(recursive_directory_walk{at(u"a.txt")}, SystemError);
  EXPECT_THROW(recursive_directory_walk{UString()}, SystemError);
}

TEST_F(RecursiveDirectoryWalk, VisitsEveryEntryAtAllDepths) {
  writeFile(at(u"a.txt"), "x");
  writeFile(at(u"one\\b.txt"), "x");
  writeFile(at(u"one\\two\\c.txt"), "x");
  makeDirectory(at(u"empty"));
  writeFile(at(u"z\\d.txt"), "x");
  EXPECT_THAT(pathsBelow(root()), UnorderedElementsAre(at(u"a.txt"), at(u"one"), at(u"one\\b.txt"),
                                                       at(u"one\\two"), at(u"one\\two\\c.txt"),
                                                       at(u"empty"), at(u"z"), at(u"z\\d.txt")));
}

TEST_F(RecursiveDirectoryWalk, VisitsAFolderBeforeItsContent) {
  writeFile(at(u"one\\two\\three\\a.txt"), "x");
  EXPECT_THAT(pathsBelow(root()), ElementsAre(at(u"one"), at(u"one\\two"), at(u"one\\two\\three"),
                                              at(u"one\\two\\three\\a.txt")));
}

TEST_F(RecursiveDirectoryWalk, TellsNameAndKindOfEachEntry) {
  writeFile(at(u"one\\caf\u00E9.phl"), "x");
  recursive_directory_walk walk(root());
  directory_entry const* entry = walk.next();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->file_name(), u"one");
  EXPECT_TRUE(entry->is_directory());
  EXPECT_FALSE(entry->is_link());
  entry = walk.next();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->file_name(), u"caf\u00E9.phl");
  EXPECT_FALSE(entry->is_directory());
  EXPECT_FALSE(entry->is_link());
}

TEST_F(RecursiveDirectoryWalk, JoinsPathsToTheRootAsItWasGiven) {
  writeFile(at(u"one\\a.txt"), "x");
  UString const before = files().currentDirectory();
  ASSERT_TRUE(files().setCurrentDirectory(root()));
  EXPECT_THAT(pathsBelow(u"one"), ElementsAre(u"one\\a.txt"));
  EXPECT_THAT(pathsBelow(u"."), ElementsAre(u".\\one", u".\\one\\a.txt"));
  files().setCurrentDirectory(before);
  EXPECT_THAT(pathsBelow(root() + u"\\"), ElementsAre(at(u"one"), at(u"one\\a.txt")));
  EXPECT_THAT(pathsBelow(u"\\\\?\\" + at(u"one")), ElementsAre(u"\\\\?\\" + at(u"one\\a.txt")));
}

TEST_F(RecursiveDirectoryWalk, KeepsItsPlaceWhenTheCurrentFolderChanges) {
  writeFile(at(u"one\\two\\a.txt"), "x");
  UString const before = files().currentDirectory();
  ASSERT_TRUE(files().setCurrentDirectory(root()));
  recursive_directory_walk walk(u"one");
  files().setCurrentDirectory(before);
  ASSERT_NE(walk.next(), nullptr);
  directory_entry const* entry = walk.next();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->path(), Path(u"one\\two\\a.txt"));
}

TEST_F(RecursiveDirectoryWalk, GoesAsDeepAsFoldersDo) {
  UString deepest = root();
  for (int level = 0; level < 150; ++level) {
    deepest += u"\\level";
  }
  writeFile(deepest + u"\\a.txt", "x");
  auto const paths = pathsBelow(root());
  ASSERT_EQ(paths.size(), 151u);
  EXPECT_EQ(paths.back(), deepest + u"\\a.txt");
}

TEST_F(RecursiveDirectoryWalk, AFolderThatCannotBeReadLosesOnlyItself) {
  writeFile(at(u"a\\inside.txt"), "x");
  writeFile(at(u"b\\deep\\lost.txt"), "x");
  writeFile(at(u"c\\inside.txt"), "x");
  for (std::string const operation : {"openDirectory", "DirectoryStream::next"}) {
    tests::FaultyMachine faulty(machine());
    machine::ScopedMachine const scope(faulty);
    faulty.faults().failWhen(
        [&](std::string_view name, std::u16string_view subject) {
          return name == operation && subject.ends_with(u"\\b");
        },
        machine::ErrorCode::accessDenied);
    std::vector<UString> paths;
    int failures = 0;
    recursive_directory_walk walk(root());
    for (directory_entry const* entry = nullptr;;) {
      try {
        if ((entry = walk.next()) == nullptr) {
          break;
        }
        paths.push_back(entry->path().ustring());
      } catch (SystemError const&) {
        ASSERT_EQ(++failures, 1) << operation;
      }
    }
    EXPECT_EQ(failures, 1) << operation;
    EXPECT_THAT(paths, UnorderedElementsAre(at(u"a"), at(u"a\\inside.txt"), at(u"b"), at(u"c"),
                                            at(u"c\\inside.txt")))
        << operation;
    EXPECT_EQ(walk.next(), nullptr) << operation;
  }
}

TEST_F(RecursiveDirectoryWalk, OpensEachFolderOnceAndAsksForNothingElse) {
  writeFile(at(u"one\\a.txt"), "x");
  tests::FaultyMachine counted(machine());
  machine::ScopedMachine const scope(counted);
  pathsBelow(root());
  EXPECT_THAT(
      counted.faults().operations(),
      ElementsAre("currentDirectory", "openDirectory", "DirectoryStream::next", "openDirectory",
                  "DirectoryStream::next", "DirectoryStream::next", "DirectoryStream::next"));
}

#if !defined(_WIN32)  // links and odd names, made where the simulated machine keeps its files

TEST_F(RecursiveDirectoryWalk, VisitsLinksAndNeverEntersThem) {
  writeFile(at(u"target\\a.txt"), "x");
  makeDirectory(at(u"folder"));
  std::filesystem::create_directory_symlink(hostPath(at(u"target")), hostPath(at(u"folder\\link")));
  std::filesystem::create_directory_symlink(hostPath(at(u"folder")), hostPath(at(u"folder\\loop")));
  std::filesystem::create_symlink(hostPath(at(u"target\\a.txt")), hostPath(at(u"folder\\file")));
  std::map<UString, bool> links;
  recursive_directory_walk walk(at(u"folder"));
  while (directory_entry const* entry = walk.next()) {
    links[UString(entry->file_name())] = entry->is_link();
  }
  EXPECT_EQ(links, (std::map<UString, bool>{{u"link", true}, {u"loop", true}, {u"file", true}}));
}

TEST_F(RecursiveDirectoryWalk, EntersFoldersOfOddNamesThemselves) {
  makeDirectory(at(u"folder"));
  std::filesystem::create_directory(hostPath(at(u"folder")) / ".. ");
  std::filesystem::create_directory(hostPath(at(u"folder")) / ".. " / "inside");
  EXPECT_THAT(pathsBelow(at(u"folder")),
              ElementsAre(at(u"folder\\.. "), at(u"folder\\.. \\inside")));
}

#endif

}  // namespace
}  // namespace fl::filesystem
