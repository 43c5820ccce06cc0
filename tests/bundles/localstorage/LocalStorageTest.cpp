#include <gtest/gtest.h>

#include "bundles/localstorage/local_storage.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "foundation/storage/vfs/File.hpp"
#include "foundation/storage/vfs/Folder.hpp"
#include "tests/support/faulty_machine.hpp"
#include "tests/support/iri_printing.hpp"
#include "tests/support/machine_fixture.hpp"

namespace localstorage {
namespace {

namespace vfs = foundation::storage::vfs;
using machine::UString;

/// Files and folders of the test's folder, as the product reaches them.
class LocalStorageTest : public tests::MachineTest {
 protected:
  static vfs::AbsoluteIRI iri(UString const& path) {
    return vfs::CanonicalAbsoluteIRI::ofWindowsPath(path);
  }
  vfs::File file(UString const& name) const { return {iri(at(name)), storage_}; }
  vfs::Folder folder(UString const& name) const { return {iri(at(name)), storage_}; }

  /// Runs `work` on a machine of which every such operation fails.
  template <typename Work>
  vfs::ErrorCode errorWhenFailing(std::string const& operation, machine::ErrorCode code,
                                  Work&& work) {
    tests::FaultyMachine faulty(machine());
    faulty.faults().failWhen(
        [&](std::string_view name, std::u16string_view) { return name == operation; }, code);
    machine::ScopedMachine const scope(faulty);
    return tests::errorCodeOf(work);
  }

 private:
  vfs::StorageSystemReference storage_ = std::make_shared<LocalStorage>();
};

TEST_F(LocalStorageTest, FilesAndFoldersAreToldApart) {
  writeFile(at(u"folder\\gr\u00f6\u00dfe 100%.txt"), "x");
  EXPECT_TRUE(file(u"folder\\gr\u00f6\u00dfe 100%.txt").fileExists());
  EXPECT_FALSE(folder(u"folder\\gr\u00f6\u00dfe 100%.txt").folderExists());
  EXPECT_TRUE(folder(u"folder").folderExists());
  EXPECT_FALSE(file(u"folder").fileExists());
}

TEST_F(LocalStorageTest, WhatIsMissingDoesNotExist) {
  writeFile(at(u"file"), "x");
  for (auto const* name : {u"missing", u"missing\\below", u"file\\below"}) {
    EXPECT_FALSE(file(name).fileExists());
    EXPECT_FALSE(folder(name).folderExists());
  }
  EXPECT_FALSE(LocalStorage().folderExists(iri(u"Q:\\not there")));
}

TEST_F(LocalStorageTest, NamesAreComparedWithoutRegardToCase) {
  writeFile(at(u"File"), "x");
  EXPECT_TRUE(file(u"fILE").fileExists());
}

TEST_F(LocalStorageTest, WhatMayNotBeLookedAtExists) {
  tests::FaultyMachine faulty(machine());
  faulty.faults().failWhen([](auto operation, auto) { return operation == "status"; },
                           machine::ErrorCode::accessDenied);
  machine::ScopedMachine const scope(faulty);
  EXPECT_TRUE(file(u"x").fileExists());
  EXPECT_TRUE(folder(u"x").folderExists());
}

TEST_F(LocalStorageTest, ADeviceErrorLeavesTheQuestionOpen) {
  auto const ask = [&] { folder(u"x").folderExists(); };
  EXPECT_EQ(errorWhenFailing("status", machine::ErrorCode::ioDevice, ask), vfs::ErrorCode::ioError);
}

TEST_F(LocalStorageTest, ListsAFolder) {
  writeFile(at(u"folder\\b.txt"), "");
  makeDirectory(at(u"folder\\a"));
  auto const entries = folder(u"folder").entries();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].name, u"a");
  EXPECT_TRUE(entries[0].isFolder);
  EXPECT_FALSE(entries[0].isLink);
  EXPECT_EQ(entries[1].name, u"b.txt");
  EXPECT_FALSE(entries[1].isFolder);
}

TEST_F(LocalStorageTest, AFolderThatCannotBeListedIsAFailure) {
  writeFile(at(u"file"), "");
  EXPECT_EQ(tests::errorCodeOf([&] { folder(u"missing").entries(); }),
            vfs::ErrorCode::resourceNotFound);
  EXPECT_EQ(tests::errorCodeOf([&] { folder(u"file").entries(); }),
            vfs::ErrorCode::invalidLocation);
}

TEST_F(LocalStorageTest, ReadsUpToTheLimit) {
  writeFile(at(u"file"), std::string("a\0\xFF", 3));
  EXPECT_EQ(file(u"file").read(3), std::string("a\0\xFF", 3));
  EXPECT_EQ(tests::errorCodeOf([&] { file(u"file").read(2); }), vfs::ErrorCode::fileTooLarge);
}

TEST_F(LocalStorageTest, AMissingFileCannotBeRead) {
  EXPECT_EQ(tests::errorCodeOf([&] { file(u"missing").read(10); }),
            vfs::ErrorCode::resourceNotFound);
}

TEST_F(LocalStorageTest, AFailureTellsThePathAndTheSystemsReason) {
  try {
    file(u"missing").read(10);
    ADD_FAILURE();
  } catch (vfs::Exception const& failure) {
    EXPECT_EQ(failure.getLocation(), at(u"missing"));
  }
}

TEST_F(LocalStorageTest, AFolderIsMadeWithThoseAboveIt) {
  folder(u"a\\b\\c").create();
  EXPECT_TRUE(exists(at(u"a\\b\\c")));
  folder(u"a\\b\\c").create();
}

TEST_F(LocalStorageTest, AFileInPlaceOfAFolderIsInTheWay) {
  writeFile(at(u"a"), "");
  EXPECT_EQ(tests::errorCodeOf([&] { folder(u"a\\b").create(); }),
            vfs::ErrorCode::resourceAlreadyExists);
}

TEST_F(LocalStorageTest, AFileIsMadeOrReplaced) {
  file(u"file").replace("one");
  EXPECT_EQ(readFile(at(u"file")), "one");
  file(u"file").replace("");
  EXPECT_EQ(readFile(at(u"file")), "");
  EXPECT_FALSE(exists(at(u"file.tmp")));
}

TEST_F(LocalStorageTest, AFolderInPlaceOfTheFileStays) {
  makeDirectory(at(u"file"));
  EXPECT_EQ(tests::errorCodeOf([&] { file(u"file").replace("x"); }),
            vfs::ErrorCode::invalidLocation);
  EXPECT_TRUE(folder(u"file").folderExists());
  EXPECT_FALSE(exists(at(u"file.tmp")));
}

TEST_F(LocalStorageTest, WhateverFailsTheOldFileStaysAndNothingIsLeftBeside) {
  writeFile(at(u"file"), "old");
  tests::FaultyMachine faulty(machine());
  machine::ScopedMachine const scope(faulty);
  std::size_t failures = 0;
  for (std::size_t n = 1;; ++n) {
    faulty.faults().failAt(n, machine::ErrorCode::diskFull);
    auto const code = tests::errorCodeOf([&] { file(u"file").replace("new"); });
    bool const failed = faulty.faults().count() >= n;
    faulty.faults().failNever();
    if (!failed) {
      break;
    }
    ++failures;
    EXPECT_EQ(code, vfs::ErrorCode::noSpaceLeft) << n;
    EXPECT_EQ(readFile(at(u"file")), "old") << n;
    EXPECT_FALSE(exists(at(u"file.tmp"))) << n;
  }
  EXPECT_EQ(readFile(at(u"file")), "new");
  EXPECT_EQ(failures, 7u);  // status, removeFile, open, write, flush, close, rename
}

TEST_F(LocalStorageTest, EachFailureOfTheMachineHasItsCode) {
  writeFile(at(u"file"), "old");
  auto const write = [&] { file(u"file").replace("new"); };
  auto const read = [&] { file(u"file").read(10); };
  using machine::ErrorCode;
  EXPECT_EQ(errorWhenFailing("openForWriting", ErrorCode::invalidName, write),
            vfs::ErrorCode::invalidLocation);
  EXPECT_EQ(errorWhenFailing("openForWriting", ErrorCode::accessDenied, write),
            vfs::ErrorCode::permissionDenied);
  EXPECT_EQ(errorWhenFailing("rename", ErrorCode::alreadyExists, write),
            vfs::ErrorCode::resourceAlreadyExists);
  EXPECT_EQ(errorWhenFailing("openForReading", ErrorCode::pathNotFound, read),
            vfs::ErrorCode::resourceNotFound);
  EXPECT_EQ(errorWhenFailing("openForWriting", ErrorCode::writeProtect, write),
            vfs::ErrorCode::readOnlyProvider);
  EXPECT_EQ(errorWhenFailing("FileWriter::write", ErrorCode::fileTooLarge, write),
            vfs::ErrorCode::fileTooLarge);
  EXPECT_EQ(errorWhenFailing("rename", ErrorCode::sharingViolation, write),
            vfs::ErrorCode::resourceInUse);
  EXPECT_EQ(errorWhenFailing("FileWriter::write", ErrorCode::diskFull, write),
            vfs::ErrorCode::noSpaceLeft);
  EXPECT_EQ(errorWhenFailing("FileReader::read", ErrorCode::ioDevice, read),
            vfs::ErrorCode::ioError);
  EXPECT_EQ(errorWhenFailing("rename", ErrorCode::notSupported, write),
            vfs::ErrorCode::operationNotSupported);
  EXPECT_EQ(errorWhenFailing("rename", ErrorCode{1223}, write), vfs::ErrorCode::operationCancelled);
  EXPECT_EQ(errorWhenFailing("rename", ErrorCode::notEnoughMemory, write),
            vfs::ErrorCode::unknownError);
}

TEST_F(LocalStorageTest, WhoeverElseReplacesTheFileHasItInUse) {
  auto const write = [&] { file(u"file").replace("new"); };
  EXPECT_EQ(errorWhenFailing("openForWriting", machine::ErrorCode::fileExists, write),
            vfs::ErrorCode::resourceInUse);
}

TEST_F(LocalStorageTest, OtherSchemesAreNotServed) {
  LocalStorage const storage;
  vfs::AbsoluteIRI const other(u"mem:a");
  EXPECT_EQ(tests::errorCodeOf([&] { storage.fileExists(other); }),
            vfs::ErrorCode::invalidLocation);
  EXPECT_EQ(tests::errorCodeOf([&] { storage.folderExists(other); }),
            vfs::ErrorCode::invalidLocation);
  EXPECT_EQ(tests::errorCodeOf([&] { storage.read(other, 1); }), vfs::ErrorCode::invalidLocation);
}

TEST_F(LocalStorageTest, LongPathsAreServed) {
  UString name = u"folder";
  for (int level = 0; level < 8; ++level) {
    name += u"\\" + UString(40, u'x');
  }
  folder(name).create();
  file(name + u"\\file").replace("x");
  EXPECT_TRUE(file(name + u"\\file").fileExists());
  EXPECT_EQ(file(name + u"\\file").read(1), "x");
  EXPECT_EQ(folder(name).entries().size(), 1u);
}

#if !defined(_WIN32)
namespace fs = std::filesystem;

TEST_F(LocalStorageTest, AReadOnlyFileIsNotReplaced) {
  writeFile(at(u"file"), "old");
  fs::permissions(hostPath(at(u"file")), fs::perms::owner_read);
  EXPECT_EQ(tests::errorCodeOf([&] { file(u"file").replace("x"); }),
            vfs::ErrorCode::permissionDenied);
  EXPECT_EQ(readFile(at(u"file")), "old");
  EXPECT_FALSE(exists(at(u"file.tmp")));
}

TEST_F(LocalStorageTest, LinksExistWhenTheyLeadSomewhere) {
  writeFile(at(u"folder\\file"), "x");
  fs::create_symlink(hostPath(at(u"folder\\file")), hostPath(at(u"to file")));
  fs::create_directory_symlink(hostPath(at(u"folder")), hostPath(at(u"to folder")));
  fs::create_symlink(hostPath(at(u"gone")), hostPath(at(u"to nothing")));
  EXPECT_TRUE(file(u"to file").fileExists());
  EXPECT_FALSE(folder(u"to file").folderExists());
  EXPECT_TRUE(folder(u"to folder").folderExists());
  EXPECT_FALSE(file(u"to folder").fileExists());
  EXPECT_FALSE(file(u"to nothing").fileExists());
  EXPECT_FALSE(folder(u"to nothing").folderExists());
}

TEST_F(LocalStorageTest, LinksInARingLeadNowhere) {
  fs::create_directory_symlink(hostPath(at(u"b")), hostPath(at(u"a")));
  fs::create_directory_symlink(hostPath(at(u"a")), hostPath(at(u"b")));
  EXPECT_FALSE(file(u"a").fileExists());
  EXPECT_FALSE(folder(u"a").folderExists());
  EXPECT_FALSE(folder(u"a\\below").folderExists());
}

TEST_F(LocalStorageTest, ALinkInTheFilesPlaceIsReplacedItself) {
  writeFile(at(u"target"), "kept");
  fs::create_symlink(hostPath(at(u"target")), hostPath(at(u"file")));
  file(u"file").replace("new");
  EXPECT_EQ(readFile(at(u"target")), "kept");
  EXPECT_EQ(readFile(at(u"file")), "new");
}

TEST_F(LocalStorageTest, ALinkPlantedBesideTheFileIsNotWrittenThrough) {
  writeFile(at(u"target"), "kept");
  fs::create_symlink(hostPath(at(u"target")), hostPath(at(u"file.tmp")));
  file(u"file").replace("new");
  EXPECT_EQ(readFile(at(u"target")), "kept");
  EXPECT_EQ(readFile(at(u"file")), "new");
}
#endif

}  // namespace
}  // namespace localstorage
