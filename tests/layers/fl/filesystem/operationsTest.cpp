#include <gtest/gtest.h>

#include "fl/filesystem/operations.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/machine_fixture.hpp"

namespace fl::filesystem {
namespace {

using ::machine::ErrorCode;
using ::machine::SystemError;
using tests::MachineTest;

class Exists : public MachineTest {};

TEST_F(Exists, IsTrueForFilesAndFolders) {
  writeFile(at(u"a.txt"), "x");
  EXPECT_TRUE(fl::filesystem::exists(Path(at(u"a.txt"))));
  EXPECT_TRUE(fl::filesystem::exists(at(u"A.TXT")));
  EXPECT_TRUE(fl::filesystem::exists(Path(root())));
}

TEST_F(Exists, IsFalseForMissingAndImpossibleNames) {
  writeFile(at(u"a.txt"), "x");
  for (UString const& name : {at(u"b.txt"), at(u"b\\c.txt"), at(u"a.txt\\b"), UString(),
                              UString(u"C:\\a<b>|?*"), at(UString(300, u'n'))}) {
    EXPECT_FALSE(fl::filesystem::exists(Path(name))) << i18n::to_string(name);
  }
}

class IsDirectory : public MachineTest {};

TEST_F(IsDirectory, TellsFoldersFromFiles) {
  writeFile(at(u"folder\\a.txt"), "x");
  EXPECT_TRUE(is_directory(at(u"folder")));
  EXPECT_TRUE(is_directory(at(u"folder\\")));
  EXPECT_FALSE(is_directory(at(u"folder\\a.txt")));
  EXPECT_FALSE(is_directory(at(u"missing")));
}

class Remove : public MachineTest {};

TEST_F(Remove, DeletesAFile) {
  writeFile(at(u"a.txt"), "x");
  EXPECT_TRUE(fl::filesystem::remove(at(u"a.txt")));
  EXPECT_FALSE(MachineTest::exists(at(u"a.txt")));
  EXPECT_FALSE(fl::filesystem::remove(at(u"a.txt")));
}

TEST_F(Remove, DeletesAnEmptyFolderOnly) {
  writeFile(at(u"folder\\a.txt"), "x");
  EXPECT_THROW(fl::filesystem::remove(at(u"folder")), SystemError);
  EXPECT_TRUE(MachineTest::exists(at(u"folder\\a.txt")));
  fl::filesystem::remove(at(u"folder\\a.txt"));
  EXPECT_TRUE(fl::filesystem::remove(at(u"folder")));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
}

class ReplaceFile : public MachineTest {
 protected:
  /// Replaces `old` where every such operation on a name with this end fails.
  void replaceFailing(std::string const& operation, UString const& end, ::machine::ErrorCode code) {
    writeFile(at(u"a.txt"), "old");
    tests::FaultyMachine faulty(machine());
    ::machine::ScopedMachine const scope(faulty);
    faulty.faults().failWhen(
        [&](std::string_view name, std::u16string_view subject) {
          return name == operation && subject.ends_with(end);
        },
        code);
    replace_file(at(u"a.txt"), "new");
  }
};

TEST_F(ReplaceFile, MakesOrReplacesTheFileAndLeavesNothingBeside) {
  for (std::string const content : {"one", "", "three"}) {
    replace_file(at(u"a.txt"), content);
    EXPECT_EQ(readFile(at(u"a.txt")), content);
    EXPECT_EQ(entry_names(root()), std::vector<UString>{u"a.txt"});
  }
}

TEST_F(ReplaceFile, AFailureLeavesTheOldFile) {
  EXPECT_THROW(replaceFailing("FileWriter::write", u"", ::machine::ErrorCode::diskFull),
               SystemError);
  EXPECT_EQ(readFile(at(u"a.txt")), "old");
  EXPECT_EQ(entry_names(root()), std::vector<UString>{u"a.txt"});
}

TEST_F(ReplaceFile, OverwritesWhereNoNewFileIsTakenOrTheOldOneIsInUse) {
  replaceFailing("openForWriting", u".tmp", ::machine::ErrorCode::accessDenied);
  EXPECT_EQ(readFile(at(u"a.txt")), "new");
  replaceFailing("rename", u".tmp", ::machine::ErrorCode::sharingViolation);
  EXPECT_EQ(readFile(at(u"a.txt")), "new");
}

TEST(IsAbsolute, TellsPathsThatNeedNoCurrentFolder) {
  for (char16_t const* path : {u"C:\\a", u"C:/", u"\\\\srv\\share\\a", u"\\\\?\\C:\\a"}) {
    EXPECT_TRUE(is_absolute(Path(path)));
  }
  for (char16_t const* path : {u"a", u"\\a", u"C:a", u"..\\a", u""}) {
    EXPECT_FALSE(is_absolute(Path(path)));
  }
}

class RemoveAll : public MachineTest {};

TEST_F(RemoveAll, DoesNothingWhenNothingIsThere) {
  EXPECT_NO_THROW(remove_all(at(u"missing")));
  EXPECT_NO_THROW(remove_all(at(u"missing\\deeper")));
}

TEST_F(RemoveAll, DeletesAFile) {
  writeFile(at(u"a.txt"), "x");
  writeFile(at(u"b.txt"), "x");
  remove_all(at(u"a.txt"));
  EXPECT_FALSE(MachineTest::exists(at(u"a.txt")));
  EXPECT_TRUE(MachineTest::exists(at(u"b.txt")));
}

TEST_F(RemoveAll, DeletesAFolderWithAllItsContentAndNothingElse) {
  writeFile(at(u"folder\\a.txt"), "x");
  writeFile(at(u"folder\\one\\two\\b.txt"), "x");
  writeFile(at(u"folder\\one\\c.txt"), "x");
  makeDirectory(at(u"folder\\empty"));
  writeFile(at(u"folder2\\a.txt"), "x");
  remove_all(at(u"folder"));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
  EXPECT_TRUE(MachineTest::exists(at(u"folder2\\a.txt")));
  EXPECT_NO_THROW(remove_all(at(u"folder")));
}

TEST_F(RemoveAll, GoesAsDeepAsFoldersDo) {
  UString deepest = at(u"folder");
  for (int level = 0; level < 150; ++level) {
    deepest += u"\\level";
  }
  writeFile(deepest + u"\\a.txt", "x");
  remove_all(at(u"folder"));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
}

TEST_F(RemoveAll, RefusesRootsAndWhateverComesDownToOne) {
  for (UString const& path : {UString(),
                              UString(u"C:\\"),
                              UString(u"C:"),
                              UString(u"c:/"),
                              UString(u"\\"),
                              UString(u"/"),
                              UString(u"\\\\srv\\share"),
                              UString(u"\\\\srv\\share\\"),
                              UString(u"\\\\srv"),
                              UString(u"\\\\?\\C:\\"),
                              UString(u"\\\\?\\C:"),
                              UString(u"\\\\?\\UNC\\srv\\share"),
                              UString(u"\\\\?\\"),
                              UString(u"\\\\.\\C:\\"),
                              UString(u"//?/C:/"),
                              UString(u"C:\\a\\.."),
                              UString(u"C:\\."),
                              UString(u"C:\\. ."),
                              UString(u"C:\\a\\b\\..\\..\\"),
                              UString(u"C:\\.."),
                              UString(u"\\\\srv\\share\\a\\.."),
                              UString(u"\\a\\..")}) {
    EXPECT_THROW(remove_all(path), std::invalid_argument) << i18n::to_string(path);
  }
}

TEST_F(RemoveAll, RefusesDotsInAVerbatimPath) {
  writeFile(at(u"a.txt"), "x");
  makeDirectory(at(u"folder"));
  EXPECT_THROW(remove_all(u"\\\\?\\" + at(u"folder\\..")), std::invalid_argument);
  EXPECT_TRUE(MachineTest::exists(at(u"a.txt")));
}

TEST_F(RemoveAll, RefusesARelativePathThatComesDownToARoot) {
  UString const before = files().currentDirectory();
  ASSERT_TRUE(files().setCurrentDirectory(u"C:\\"));
  EXPECT_THROW(remove_all(u"."), std::invalid_argument);
  EXPECT_THROW(remove_all(u"a\\.."), std::invalid_argument);
  files().setCurrentDirectory(before);
}

TEST_F(RemoveAll, TakesRelativeAndVerbatimPaths) {
  UString const before = files().currentDirectory();
  writeFile(at(u"one\\a.txt"), "x");
  writeFile(at(u"two\\a.txt"), "x");
  ASSERT_TRUE(files().setCurrentDirectory(root()));
  remove_all(u"one");
  files().setCurrentDirectory(before);
  remove_all(u"\\\\?\\" + at(u"two"));
  EXPECT_FALSE(MachineTest::exists(at(u"one")));
  EXPECT_FALSE(MachineTest::exists(at(u"two")));
}

class Rename : public MachineTest {};

TEST_F(Rename, MovesAFile) {
  writeFile(at(u"a.txt"), "x");
  makeDirectory(at(u"folder"));
  fl::filesystem::rename(at(u"a.txt"), at(u"folder\\b.txt"));
  EXPECT_FALSE(MachineTest::exists(at(u"a.txt")));
  EXPECT_EQ(readFile(at(u"folder\\b.txt")), "x");
}

TEST_F(Rename, ReplacesAnExistingTargetUnlessToldToKeepIt) {
  writeFile(at(u"a.txt"), "new");
  writeFile(at(u"b.txt"), "old");
  EXPECT_THROW(fl::filesystem::rename(at(u"a.txt"), at(u"b.txt"), rename_options::keep_existing),
               SystemError);
  EXPECT_EQ(readFile(at(u"b.txt")), "old");
  EXPECT_EQ(readFile(at(u"a.txt")), "new");
  fl::filesystem::rename(at(u"a.txt"), at(u"b.txt"), rename_options::replace_existing);
  EXPECT_EQ(readFile(at(u"b.txt")), "new");
  EXPECT_FALSE(MachineTest::exists(at(u"a.txt")));
}

TEST_F(Rename, ThrowsForAMissingSource) {
  EXPECT_THROW(fl::filesystem::rename(at(u"a.txt"), at(u"b.txt")), SystemError);
}

class Relative : public MachineTest {};

TEST_F(Relative, GoesDownUpAndNowhere) {
  EXPECT_EQ(relative(u"C:\\p\\a\\b", u"C:\\p"), Path(u"a\\b"));
  EXPECT_EQ(relative(u"C:\\q", u"C:\\p"), Path(u"..\\q"));
  EXPECT_EQ(relative(u"C:\\p", u"C:\\p"), Path(u"."));
  EXPECT_EQ(relative(u"C:\\p", u"C:\\p\\a\\b"), Path(u"..\\.."));
  EXPECT_EQ(relative(u"C:\\p", u"C:\\"), Path(u"p"));
  EXPECT_EQ(relative(u"C:\\", u"C:\\p"), Path(u".."));
}

TEST_F(Relative, ComparesNamesWithoutRegardToCase) {
  EXPECT_EQ(relative(u"c:\\PROGRAM Files\\X", u"C:\\Program Files"), Path(u"X"));
  EXPECT_EQ(relative(u"\\\\SRV\\Share\\a", u"\\\\srv\\share"), Path(u"a"));
  EXPECT_EQ(relative(u"C:\\pp", u"C:\\p"), Path(u"..\\pp"));
}

TEST_F(Relative, SeesThroughTheWaysToWriteAPath) {
  EXPECT_EQ(relative(u"C:/p/./x/../a/", u"C:\\p\\"), Path(u"a"));
  EXPECT_EQ(relative(u"\\\\?\\C:\\p\\a", u"C:\\p"), Path(u"a"));
  EXPECT_EQ(relative(u"\\\\?\\UNC\\srv\\share\\a", u"\\\\srv\\share"), Path(u"a"));
}

TEST_F(Relative, OnAnotherDriveIsTheAbsolutePath) {
  EXPECT_EQ(relative(u"D:\\p\\a", u"C:\\p"), Path(u"D:\\p\\a"));
  EXPECT_EQ(relative(u"\\\\srv\\one\\a", u"\\\\srv\\two"), Path(u"\\\\srv\\one\\a"));
}

TEST_F(Relative, TakesRelativePathsFromTheCurrentFolder) {
  UString const before = files().currentDirectory();
  ASSERT_TRUE(files().setCurrentDirectory(root()));
  EXPECT_EQ(relative(u"a\\b", root()), Path(u"a\\b"));
  EXPECT_EQ(relative(at(u"a\\b"), u"a"), Path(u"b"));
  files().setCurrentDirectory(before);
}

class CurrentPath : public MachineTest {};

TEST_F(CurrentPath, FollowsItsChange) {
  Path const before = get_current_path();
  makeDirectory(at(u"folder"));
  EXPECT_TRUE(change_current_path(at(u"folder")));
  EXPECT_TRUE(::machine::equalIgnoringCase(get_current_path().ustring(), at(u"folder")));
  EXPECT_TRUE(change_current_path(before));
}

TEST_F(CurrentPath, StaysWhenTheFolderCannotBeEntered) {
  Path const before = get_current_path();
  writeFile(at(u"a.txt"), "x");
  EXPECT_FALSE(change_current_path(at(u"missing")));
  EXPECT_FALSE(change_current_path(at(u"a.txt")));
  EXPECT_EQ(get_current_path(), before);
}

class CreateDirectories : public MachineTest {};

TEST_F(CreateDirectories, MakesTheFolderAndThoseAboveIt) {
  create_directories(at(u"a\\b/c"));
  EXPECT_TRUE(is_directory(at(u"a\\b\\c")));
}

TEST_F(CreateDirectories, DoesNothingWhenItExists) {
  writeFile(at(u"a\\x.txt"), "x");
  EXPECT_NO_THROW(create_directories(at(u"a")));
  EXPECT_NO_THROW(create_directories(at(u"a\\")));
  EXPECT_NO_THROW(create_directories(u"C:\\"));
  EXPECT_EQ(readFile(at(u"a\\x.txt")), "x");
}

TEST_F(CreateDirectories, ThrowsWhenAFileStandsInTheWay) {
  writeFile(at(u"a"), "x");
  EXPECT_THROW(create_directories(at(u"a")), SystemError);
  EXPECT_THROW(create_directories(at(u"a\\b\\c")), SystemError);
}

TEST_F(CreateDirectories, GoesBeyond260Units) {
  UString deepest = root();
  for (int level = 0; level < 60; ++level) {
    deepest += u"\\level";
  }
  create_directories(deepest);
  EXPECT_TRUE(is_directory(deepest));
}

/// A machine whose operations fail on demand, current while the test runs.
class WithFaults : public MachineTest {
 protected:
  tests::Faults& faults() { return faulty_.faults(); }

  /// Runs `call` with each of its operations failing in turn; each time it must throw.
  template <typename Call>
  void expectThrowForEachFailure(std::size_t operations, Call call) {
    for (std::size_t n = 1; n <= operations; ++n) {
      faults().failAt(n, ErrorCode::ioDevice);
      EXPECT_THROW(call(), SystemError) << "operation " << n;
    }
    faults().failNever();
  }

 private:
  tests::FaultyMachine faulty_{machine()};
  ::machine::ScopedMachine scope_{faulty_};
};

class ExistsWithFaults : public WithFaults {};

TEST_F(ExistsWithFaults, TakesWhatMayNotBeLookedAtForThereAndAllElseForMissing) {
  std::pair<ErrorCode, bool> const answers[] = {
      {ErrorCode::accessDenied, true},  {ErrorCode::sharingViolation, true},
      {ErrorCode::fileNotFound, false}, {ErrorCode::invalidDrive, false},
      {ErrorCode::invalidName, false},  {ErrorCode::ioDevice, false}};
  for (auto const& [code, answer] : answers) {
    faults().failAt(1, code);
    EXPECT_EQ(fl::filesystem::exists(Path(root())), answer) << static_cast<int>(code);
  }
}

class OperationsWithFaults : public WithFaults {};

TEST_F(OperationsWithFaults, EachFailureOfASmallOperationIsThrown) {
  writeFile(at(u"a.txt"), "x");
  expectThrowForEachFailure(1, [&] { return is_directory(root()); });
  expectThrowForEachFailure(2, [&] { return fl::filesystem::remove(at(u"a.txt")); });
  expectThrowForEachFailure(1, [&] { fl::filesystem::rename(at(u"a.txt"), at(u"b.txt")); });
  expectThrowForEachFailure(1, [] { return get_current_path(); });
  expectThrowForEachFailure(2, [] { return relative(u"C:\\a", u"C:\\b"); });
  EXPECT_TRUE(MachineTest::exists(at(u"a.txt")));
}

TEST_F(OperationsWithFaults, AFolderThatCannotBeEnteredIsFalse) {
  faults().failAt(1, ErrorCode::accessDenied);
  EXPECT_FALSE(change_current_path(root()));
}

TEST_F(OperationsWithFaults, CreateDirectoriesThrowsEachFailureAndCanBeRepeated) {
  faults().failAt(0, ErrorCode::ioDevice);
  create_directories(at(u"counted\\b"));
  std::size_t const operations = faults().count();
  for (std::size_t n = 1; n <= operations; ++n) {
    UString const folder = at(u"folder") + i18n::to_ustring(std::to_string(n)) + u"\\b";
    faults().failAt(n, ErrorCode::accessDenied);
    EXPECT_THROW(create_directories(folder), SystemError) << "operation " << n;
    create_directories(folder);
    EXPECT_TRUE(is_directory(folder));
  }
}

class RemoveAllWithFaults : public WithFaults {
 protected:
  void makeTree() {
    writeFile(at(u"folder\\a.txt"), "x");
    writeFile(at(u"folder\\sub\\b.txt"), "x");
    makeDirectory(at(u"folder\\sub\\empty"));
  }
  /// Has `change` made by somebody else just before `operation` on a path that ends so.
  void meanwhile(std::string operation, UString ending, std::function<void()> change) {
    faults().failWhen(
        [=, done = false](std::string_view name, std::u16string_view subject) mutable {
          if (!done && name == operation && subject.ends_with(ending)) {
            done = true;
            change();
          }
          return false;
        },
        ErrorCode::ioDevice);
  }
};

TEST_F(RemoveAllWithFaults, ThrowsEachFailureAndCanBeRepeated) {
  makeTree();
  faults().failAt(0, ErrorCode::ioDevice);
  remove_all(at(u"folder"));
  std::size_t const operations = faults().count();
  EXPECT_GT(operations, 10u);
  for (std::size_t n = 1; n <= operations; ++n) {
    makeTree();
    faults().failAt(n, ErrorCode::sharingViolation);
    EXPECT_THROW(remove_all(at(u"folder")), SystemError) << "operation " << n;
    EXPECT_TRUE(MachineTest::exists(at(u"folder")));
    remove_all(at(u"folder"));
    EXPECT_FALSE(MachineTest::exists(at(u"folder")));
  }
}

TEST_F(RemoveAllWithFaults, AFileThatVanishesMeanwhileIsNoError) {
  makeTree();
  meanwhile("removeFile", u"b.txt", [this] { files().removeFile(at(u"folder\\sub\\b.txt")); });
  EXPECT_NO_THROW(remove_all(at(u"folder")));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
}

TEST_F(RemoveAllWithFaults, AFolderThatVanishesMeanwhileIsNoError) {
  for (char const* operation : {"status", "openDirectory", "removeDirectory"}) {
    makeTree();
    meanwhile(operation, u"empty", [this] { files().removeDirectory(at(u"folder\\sub\\empty")); });
    EXPECT_NO_THROW(remove_all(at(u"folder"))) << operation;
    EXPECT_FALSE(MachineTest::exists(at(u"folder")));
  }
}

#if !defined(_WIN32)  // links and odd names, made where the simulated machine keeps its files

TEST_F(Exists, IsTrueForALinkToNothing) {
  std::filesystem::create_symlink("nowhere", hostPath(at(u"link")));
  EXPECT_TRUE(fl::filesystem::exists(at(u"link")));
}

TEST_F(IsDirectory, SeesThroughALinkToAFolder) {
  makeDirectory(at(u"folder"));
  std::filesystem::create_directory_symlink(hostPath(at(u"folder")), hostPath(at(u"link")));
  EXPECT_TRUE(is_directory(at(u"link")));
}

TEST_F(RemoveAll, RemovesLinksNeverWhatTheyPointTo) {
  writeFile(at(u"kept\\a.txt"), "x");
  makeDirectory(at(u"folder\\sub"));
  std::filesystem::create_directory_symlink(hostPath(at(u"kept")),
                                            hostPath(at(u"folder\\sub\\link")));
  std::filesystem::create_symlink(hostPath(at(u"kept\\a.txt")), hostPath(at(u"folder\\file")));
  std::filesystem::create_symlink("nowhere", hostPath(at(u"folder\\dangling")));
  remove_all(at(u"folder"));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
  EXPECT_TRUE(MachineTest::exists(at(u"kept\\a.txt")));
}

TEST_F(RemoveAll, RemovesALinkGivenItself) {
  writeFile(at(u"kept\\a.txt"), "x");
  std::filesystem::create_directory_symlink(hostPath(at(u"kept")), hostPath(at(u"link")));
  remove_all(at(u"link"));
  EXPECT_FALSE(MachineTest::exists(at(u"link")));
  EXPECT_TRUE(MachineTest::exists(at(u"kept\\a.txt")));
}

TEST_F(RemoveAll, RemovesReadOnlyFiles) {
  writeFile(at(u"folder\\a.txt"), "x");
  std::filesystem::permissions(hostPath(at(u"folder\\a.txt")), std::filesystem::perms::owner_read);
  remove_all(at(u"folder"));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
}

TEST_F(RemoveAll, NeverTakesANameThatEndsInADotForItsNeighbour) {
  writeFile(at(u"kept\\a.txt"), "x");
  writeFile(at(u"folder\\b.txt"), "x");
  std::filesystem::create_directory(hostPath(at(u"folder")) / ".. ");
  std::filesystem::create_directory(hostPath(at(u"folder")) / "b.txt.");
  remove_all(at(u"folder"));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
  EXPECT_TRUE(MachineTest::exists(at(u"kept\\a.txt")));
}

TEST_F(RemoveAllWithFaults, AFolderThatBecameALinkMeanwhileIsNotEntered) {
  makeTree();
  writeFile(at(u"kept\\a.txt"), "x");
  meanwhile("status", u"sub", [this] {
    std::filesystem::remove_all(hostPath(at(u"folder\\sub")));
    std::filesystem::create_directory_symlink(hostPath(at(u"kept")), hostPath(at(u"folder\\sub")));
  });
  remove_all(at(u"folder"));
  EXPECT_FALSE(MachineTest::exists(at(u"folder")));
  EXPECT_TRUE(MachineTest::exists(at(u"kept\\a.txt")));
}

#endif

}  // namespace
}  // namespace fl::filesystem
