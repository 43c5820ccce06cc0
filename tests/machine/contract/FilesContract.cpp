#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <vector>

#include "machine/unicode.hpp"
#include "tests/machine/contract/contract.hpp"
#include "tests/support/wine.hpp"

namespace contract {

using machine::DirectoryEntry;
using machine::ErrorCode;
using machine::SystemError;
using machine::UString;
using machine::WriteMode;

namespace fs = std::filesystem;

namespace {

constexpr auto codeOf(ErrorCode code) {
  return static_cast<std::uint32_t>(code);
}

}  // namespace

void FilesContract::write(std::u16string_view path, std::string_view content, WriteMode mode) {
  auto const writer = files().openForWriting(path, mode);
  writer->write(content);
  writer->close();
}

std::string FilesContract::read(std::u16string_view path) {
  auto const reader = files().openForReading(path);
  std::string content;
  std::array<char, 7> buffer;  // small, so that a file takes several calls
  while (auto const size = reader->read(buffer)) content.append(buffer.data(), size);
  return content;
}

std::string FilesContract::list(std::u16string_view path) {
  std::vector<std::string> names;
  auto const stream = files().openDirectory(path);
  for (DirectoryEntry entry; stream->next(entry);)
    names.push_back(machine::toUtf8(entry.name) + (entry.isDirectory ? "\\" : "") +
                    (entry.isLink ? "@" : ""));
  std::sort(names.begin(), names.end());
  std::string result;
  for (auto const& name : names) result += (result.empty() ? "" : " ") + name;
  return result;
}

std::uint32_t FilesContract::errorOf(std::function<void()> const& call) {
  try {
    call();
    return 0;
  } catch (SystemError const& error) {
    return error.code();
  }
}

bool FilesContract::makeLink(std::u16string_view link, std::u16string_view target) {
  if (!under().keepsFilesOnHost()) return false;
  std::error_code error;
  fs::create_symlink(under().hostPath(target), under().hostPath(link), error);
  return !error && fs::is_symlink(fs::symlink_status(under().hostPath(link), error));
}

TEST_P(FilesContract, StatusOfWhatDoesNotExistIsNone) {
  EXPECT_FALSE(files().status(in(u"none")));
  EXPECT_FALSE(files().status(in(u"none\\in\\none")));
  EXPECT_FALSE(files().status(u""));
}

TEST_P(FilesContract, StatusOfANameThatCannotExistIsNone) {
  EXPECT_FALSE(files().status(in(u"a?b")));
  EXPECT_FALSE(files().status(in(u"a*")));
  EXPECT_FALSE(files().status(in(u"a<b>")));
  EXPECT_FALSE(files().status(in(u"a|b\\c")));
}

TEST_P(FilesContract, StatusOfAFileBelowAFileIsNone) {
  write(in(u"file"), "x");
  EXPECT_FALSE(files().status(in(u"file\\below")));
}

TEST_P(FilesContract, StatusTellsFileFromFolderAndGivesTheSize) {
  write(in(u"file"), "12345");
  auto const file = files().status(in(u"file"));
  ASSERT_TRUE(file);
  EXPECT_FALSE(file->isDirectory);
  EXPECT_FALSE(file->isLink);
  EXPECT_FALSE(file->attributes.isReadOnly);
  EXPECT_EQ(file->size, 5u);
  auto const folder = files().status(under().folder());
  ASSERT_TRUE(folder);
  EXPECT_TRUE(folder->isDirectory);
  EXPECT_EQ(folder->size, 0u);
}

TEST_P(FilesContract, BothSlashesSeparate) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder/file"), "x");
  EXPECT_EQ(read(in(u"folder\\file")), "x");
  auto slashes = in(u"folder\\file");
  std::replace(slashes.begin(), slashes.end(), u'\\', u'/');
  EXPECT_EQ(read(slashes), "x");
}

TEST_P(FilesContract, ASeparatorAtTheEndOfAFolderCountsNot) {
  files().createDirectory(in(u"folder\\"));
  EXPECT_TRUE(files().status(in(u"folder\\"))->isDirectory);
  EXPECT_EQ(list(in(u"folder\\")), "");
}

TEST_P(FilesContract, NamesAreFoundWithoutRegardToCase) {
  files().createDirectory(in(u"Folder"));
  write(in(u"Folder\\Datei \u00C4\u0416.TXT"), "x");
  EXPECT_EQ(read(in(u"fOLDER\\dATEI \u00E4\u0436.txt")), "x");
  EXPECT_TRUE(files().removeFile(in(u"FOLDER\\DATEI \u00C4\u0436.txt")));
  EXPECT_EQ(list(in(u"folder")), "");
}

TEST_P(FilesContract, WritingUnderAnotherCaseKeepsTheNameOfTheFile) {
  write(in(u"Name.txt"), "old");
  write(in(u"NAME.TXT"), "new");
  EXPECT_EQ(list(under().folder()), "Name.txt");
  EXPECT_EQ(read(in(u"Name.txt")), "new");
}

TEST_P(FilesContract, TrailingDotsAndBlanksOfANameCountNot) {
  write(in(u"file. . "), "x");
  EXPECT_EQ(list(under().folder()), "file");
  EXPECT_EQ(read(in(u"file.")), "x");
}

TEST_P(FilesContract, DotsAreWorkedOut) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\..\\.\\file"), "x");
  EXPECT_EQ(read(in(u"file")), "x");
}

TEST_P(FilesContract, NonLatinNamesAreKept) {
  UString const name = u"\u043F\u0430\u043F\u043A\u0430 \u03A9 \u65E5\u672C \U0001F600.txt";
  write(in(name), "x");
  EXPECT_EQ(read(in(name)), "x");
  EXPECT_EQ(list(under().folder()), machine::toUtf8(name));
}

TEST_P(FilesContract, PathsMayBeLongerThan260Units) {
  if (!under().takesLongPaths()) GTEST_SKIP() << "this host keeps the provider from them";
  UString path = under().folder();
  for (int i = 0; i < 4; ++i) {
    path += u'\\' + UString(100, u'n');
    files().createDirectory(path);
  }
  auto const file = path + u"\\file";
  ASSERT_GT(file.size(), 400u);
  write(file, "x");
  EXPECT_EQ(read(file), "x");
  EXPECT_EQ(files().status(file)->size, 1u);
  EXPECT_EQ(list(path), "file");
  files().rename(file, path + u"\\other", false);
  EXPECT_TRUE(files().removeFile(path + u"\\other"));
  EXPECT_TRUE(files().removeDirectory(path));
}

TEST_P(FilesContract, APathBeyondTheSystemsLimitNamesNothing) {
  write(in(u"file"), "x");
  auto const code = codeOf(ErrorCode::fileNameTooLong);
  for (std::size_t const extra : {32767u, 32768u, 40000u, 65535u, 65536u, 65537u}) {
    // Wine takes some of these lengths for that of the folder; dots would lead to it on any system.
    for (UString const below : {u"\\n", u"\\."}) {
      UString path = under().folder();
      while (path.size() < under().folder().size() + extra) path += below;
      path.resize(under().folder().size() + extra);
      for (auto const& name : {path, u"\\\\?\\" + path}) {
        EXPECT_FALSE(files().status(name)) << extra;
        EXPECT_FALSE(files().removeFile(name)) << extra;
        EXPECT_FALSE(files().removeDirectory(name)) << extra;
        EXPECT_FALSE(files().setCurrentDirectory(name)) << extra;
        EXPECT_FALSE(files().fileVersion(name)) << extra;
        EXPECT_EQ(errorOf([&] { files().openDirectory(name); }), code) << extra;
        EXPECT_EQ(errorOf([&] { files().openForReading(name); }), code) << extra;
        for (auto const mode : {WriteMode::truncate, WriteMode::append, WriteMode::createNew})
          EXPECT_EQ(errorOf([&] { files().openForWriting(name, mode); }), code) << extra;
        EXPECT_EQ(errorOf([&] { files().createDirectory(name); }), code) << extra;
        EXPECT_EQ(errorOf([&] { files().rename(name, in(u"other"), true); }), code) << extra;
        EXPECT_EQ(errorOf([&] { files().rename(in(u"file"), name, true); }), code) << extra;
        EXPECT_EQ(errorOf([&] { files().setAttributes(name, {}); }), code) << extra;
        EXPECT_EQ(errorOf([&] { files().lock(name, std::chrono::milliseconds(0)); }), code);
      }
    }
  }
  EXPECT_EQ(list(under().folder()), "file");
  EXPECT_EQ(read(in(u"file")), "x");
}

TEST_P(FilesContract, VerbatimPathsNameTheSameFiles) {
  write(in(u"file"), "x");
  EXPECT_EQ(read(u"\\\\?\\" + in(u"file")), "x");
}

TEST_P(FilesContract, AFolderIsListedWithoutDotAndDotDot) {
  EXPECT_EQ(list(under().folder()), "");
  write(in(u"b.txt"), "");
  write(in(u"a"), "");
  files().createDirectory(in(u"c"));
  EXPECT_EQ(list(under().folder()), "a b.txt c\\");
}

TEST_P(FilesContract, AListedNameIsValidUntilTheNextOne) {
  write(in(u"one"), "");
  write(in(u"two"), "");
  auto const stream = files().openDirectory(under().folder());
  DirectoryEntry entry;
  std::vector<UString> names;
  while (stream->next(entry)) {
    EXPECT_TRUE(files().status(in(entry.name)));  // other calls leave it alone
    names.emplace_back(entry.name);
  }
  EXPECT_EQ(names.size(), 2u);
  EXPECT_FALSE(stream->next(entry));
}

TEST_P(FilesContract, NamesMayBeRemovedWhileTheyAreListed) {
  for (auto const* name : {u"a", u"b", u"c", u"d"}) write(in(name), "");
  auto const stream = files().openDirectory(under().folder());
  int seen = 0;
  for (DirectoryEntry entry; stream->next(entry); ++seen)
    EXPECT_TRUE(files().removeFile(in(entry.name)));
  EXPECT_EQ(seen, 4);
  EXPECT_EQ(list(under().folder()), "");
}

TEST_P(FilesContract, ListingAMissingFolderThrows) {
  try {
    files().openDirectory(in(u"none"));
    FAIL();
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.isMissing()) << error.what();
    EXPECT_NE(std::string(error.what()).find("none"), std::string::npos);
  }
}

TEST_P(FilesContract, ListingAFileThrows) {
  write(in(u"file"), "");
  EXPECT_NE(errorOf([&] { files().openDirectory(in(u"file")); }), 0u);
}

TEST_P(FilesContract, ReadingGivesEveryByte) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  write(in(u"file"), bytes);
  EXPECT_EQ(read(in(u"file")), bytes);
}

TEST_P(FilesContract, TheEndOfAFileReadsAsNothingAgainAndAgain) {
  write(in(u"file"), "ab");
  auto const reader = files().openForReading(in(u"file"));
  std::array<char, 8> buffer;
  EXPECT_EQ(reader->read(buffer), 2u);
  EXPECT_EQ(reader->read(buffer), 0u);
  EXPECT_EQ(reader->read(buffer), 0u);
}

TEST_P(FilesContract, ReadingGoesOnWhereItIsSent) {
  write(in(u"file"), "0123456789");
  auto const reader = files().openForReading(in(u"file"));
  std::array<char, 3> buffer{};
  auto const readAt = [&](std::uint64_t position) {
    reader->seek(position);
    auto const size = reader->read(buffer);
    return std::string(buffer.data(), size);
  };
  EXPECT_EQ(readAt(7), "789");
  EXPECT_EQ(readAt(2), "234");
  EXPECT_EQ(readAt(9), "9");
  EXPECT_EQ(readAt(10), "") << "the end";
  EXPECT_EQ(readAt(std::uint64_t{1} << 40), "") << "beyond the end";
  EXPECT_EQ(readAt(0), "012");
}

TEST_P(FilesContract, AnEmptyFileReadsAsNothing) {
  write(in(u"file"), "");
  EXPECT_EQ(read(in(u"file")), "");
}

TEST_P(FilesContract, OpeningAMissingFileThrowsFileNotFound) {
  EXPECT_EQ(errorOf([&] { files().openForReading(in(u"none")); }), codeOf(ErrorCode::fileNotFound));
}

TEST_P(FilesContract, OpeningInAMissingFolderThrowsPathNotFound) {
  EXPECT_EQ(errorOf([&] { files().openForReading(in(u"none\\file")); }),
            codeOf(ErrorCode::pathNotFound));
  EXPECT_EQ(errorOf([&] { files().openForWriting(in(u"none\\file"), WriteMode::truncate); }),
            codeOf(ErrorCode::pathNotFound));
}

TEST_P(FilesContract, OpeningAFolderAsAFileThrowsAccessDenied) {
  EXPECT_EQ(errorOf([&] { files().openForReading(under().folder()); }),
            codeOf(ErrorCode::accessDenied));
  EXPECT_EQ(errorOf([&] { files().openForWriting(under().folder(), WriteMode::append); }),
            codeOf(ErrorCode::accessDenied));
}

TEST_P(FilesContract, OpeningANameThatCannotExistThrowsInvalidName) {
  EXPECT_EQ(errorOf([&] { files().openForWriting(in(u"a?b"), WriteMode::truncate); }),
            codeOf(ErrorCode::invalidName));
  EXPECT_EQ(errorOf([&] { files().openForReading(in(u"a*b")); }), codeOf(ErrorCode::invalidName));
}

TEST_P(FilesContract, TruncateDropsTheOldContent) {
  write(in(u"file"), "old content");
  write(in(u"file"), "new");
  EXPECT_EQ(read(in(u"file")), "new");
}

TEST_P(FilesContract, AppendMakesTheFileAndThenAdds) {
  write(in(u"file"), "one", WriteMode::append);
  write(in(u"file"), " two", WriteMode::append);
  EXPECT_EQ(read(in(u"file")), "one two");
}

TEST_P(FilesContract, EveryAppendedWriteGoesToTheEnd) {
  auto const first = files().openForWriting(in(u"file"), WriteMode::append);
  auto const second = files().openForWriting(in(u"file"), WriteMode::append);
  first->write("1");
  second->write("2");
  first->write("3");
  first->close();
  second->close();
  EXPECT_EQ(read(in(u"file")), "123");
}

TEST_P(FilesContract, CreateNewRefusesAnExistingFile) {
  write(in(u"file"), "new", WriteMode::createNew);
  EXPECT_EQ(errorOf([&] { files().openForWriting(in(u"FILE"), WriteMode::createNew); }),
            codeOf(ErrorCode::fileExists));
  EXPECT_EQ(read(in(u"file")), "new");
}

TEST_P(FilesContract, WrittenBytesAreThereBeforeTheFileIsClosed) {
  auto const writer = files().openForWriting(in(u"file"), WriteMode::truncate);
  writer->write("bytes");
  EXPECT_EQ(read(in(u"file")), "bytes");
  writer->flushToDisk();
  writer->close();
}

TEST_P(FilesContract, AWriterThatIsDestroyedCloses) {
  files().openForWriting(in(u"file"), WriteMode::truncate)->write("x");
  EXPECT_TRUE(files().removeFile(in(u"file")));
  EXPECT_FALSE(files().status(in(u"file")));
}

TEST_P(FilesContract, AReadOnlyFileIsNotWrittenTo) {
  if (!under().keepsFilesOnHost()) GTEST_SKIP() << "nothing makes a file read-only";
  if (tests::isWine()) GTEST_SKIP() << "Wine run by root writes to read-only files";
  write(in(u"file"), "x");
  fs::permissions(under().hostPath(in(u"file")), fs::perms::owner_read);
  EXPECT_EQ(errorOf([&] { files().openForWriting(in(u"file"), WriteMode::truncate); }),
            codeOf(ErrorCode::accessDenied));
  EXPECT_TRUE(files().status(in(u"file"))->attributes.isReadOnly);
  EXPECT_EQ(read(in(u"file")), "x");
  files().removeFile(in(u"file"));
}

TEST_P(FilesContract, CreateDirectoryTakesAnExistingFolder) {
  files().createDirectory(in(u"folder"));
  files().createDirectory(in(u"FOLDER"));
  EXPECT_EQ(list(under().folder()), "folder\\");
}

TEST_P(FilesContract, CreateDirectoryNeedsItsParent) {
  EXPECT_EQ(errorOf([&] { files().createDirectory(in(u"none\\folder")); }),
            codeOf(ErrorCode::pathNotFound));
}

TEST_P(FilesContract, CreateDirectoryRefusesTheNameOfAFile) {
  write(in(u"file"), "x");
  EXPECT_EQ(errorOf([&] { files().createDirectory(in(u"file")); }),
            codeOf(ErrorCode::alreadyExists));
}

TEST_P(FilesContract, RemovingWhatIsMissingIsFalse) {
  EXPECT_FALSE(files().removeFile(in(u"none")));
  EXPECT_FALSE(files().removeFile(in(u"none\\file")));
  EXPECT_FALSE(files().removeDirectory(in(u"none")));
  EXPECT_FALSE(files().removeDirectory(in(u"none\\folder")));
}

TEST_P(FilesContract, AReadOnlyFileIsRemoved) {
  if (!under().keepsFilesOnHost()) GTEST_SKIP() << "nothing makes a file read-only";
  write(in(u"file"), "x");
  fs::permissions(under().hostPath(in(u"file")), fs::perms::owner_read);
  EXPECT_TRUE(files().removeFile(in(u"file")));
  EXPECT_FALSE(files().status(in(u"file")));
}

TEST_P(FilesContract, RemoveFileLeavesAFolder) {
  files().createDirectory(in(u"folder"));
  EXPECT_EQ(errorOf([&] { files().removeFile(in(u"folder")); }), codeOf(ErrorCode::accessDenied));
  EXPECT_TRUE(files().status(in(u"folder")));
}

TEST_P(FilesContract, RemoveDirectoryLeavesAFile) {
  write(in(u"file"), "x");
  EXPECT_EQ(errorOf([&] { files().removeDirectory(in(u"file")); }), codeOf(ErrorCode::directory));
  EXPECT_EQ(read(in(u"file")), "x");
}

TEST_P(FilesContract, RemoveDirectoryLeavesWhatIsNotEmpty) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "x");
  EXPECT_EQ(errorOf([&] { files().removeDirectory(in(u"folder")); }),
            codeOf(ErrorCode::directoryNotEmpty));
  EXPECT_EQ(list(in(u"folder")), "file");
  files().removeFile(in(u"folder\\file"));
  EXPECT_TRUE(files().removeDirectory(in(u"folder")));
  EXPECT_EQ(list(under().folder()), "");
}

TEST_P(FilesContract, RenameMovesAFile) {
  files().createDirectory(in(u"folder"));
  write(in(u"file"), "x");
  files().rename(in(u"file"), in(u"folder\\other"), false);
  EXPECT_EQ(list(under().folder()), "folder\\");
  EXPECT_EQ(read(in(u"folder\\other")), "x");
}

TEST_P(FilesContract, RenameMovesAFolderWithItsContent) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "x");
  files().rename(in(u"folder"), in(u"other"), false);
  EXPECT_EQ(list(under().folder()), "other\\");
  EXPECT_EQ(read(in(u"other\\file")), "x");
}

TEST_P(FilesContract, RenameReplacesOnlyWhenAsked) {
  write(in(u"from"), "new");
  write(in(u"to"), "old");
  EXPECT_EQ(errorOf([&] { files().rename(in(u"from"), in(u"to"), false); }),
            codeOf(ErrorCode::alreadyExists));
  EXPECT_EQ(read(in(u"to")), "old");
  files().rename(in(u"from"), in(u"to"), true);
  EXPECT_EQ(list(under().folder()), "to");
  EXPECT_EQ(read(in(u"to")), "new");
}

TEST_P(FilesContract, RenameOfWhatIsMissingThrowsFileNotFound) {
  EXPECT_EQ(errorOf([&] { files().rename(in(u"none"), in(u"to"), true); }),
            codeOf(ErrorCode::fileNotFound));
}

TEST_P(FilesContract, AFolderIsNotMovedIntoItself) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "x");
  EXPECT_NE(errorOf([&] { files().rename(in(u"folder"), in(u"folder\\folder"), false); }), 0u);
  EXPECT_EQ(list(in(u"folder")), "file");
}

TEST_P(FilesContract, RenameChangesTheCaseOfAName) {
  if (tests::isWine()) GTEST_SKIP() << "Wine takes both for the same name and is done";
  write(in(u"name"), "x");
  files().rename(in(u"name"), in(u"NAME"), false);
  EXPECT_EQ(list(under().folder()), "NAME");
}

TEST_P(FilesContract, RelativePathsStartInTheCurrentFolder) {
  auto const before = files().currentDirectory();
  write(in(u"file"), "x");
  ASSERT_TRUE(files().setCurrentDirectory(under().folder()));
  EXPECT_TRUE(machine::equalIgnoringCase(files().currentDirectory(), under().folder()));
  EXPECT_EQ(read(u"file"), "x");
  EXPECT_EQ(read(u".\\FILE"), "x");
  EXPECT_TRUE(files().status(u"."));
  files().createDirectory(u"folder");
  ASSERT_TRUE(files().setCurrentDirectory(u"folder"));
  EXPECT_EQ(read(u"..\\file"), "x");
  ASSERT_TRUE(files().setCurrentDirectory(before));
  EXPECT_EQ(list(under().folder()), "file folder\\");
}

TEST_P(FilesContract, TheCurrentFolderMustExist) {
  auto const before = files().currentDirectory();
  write(in(u"file"), "x");
  EXPECT_FALSE(files().setCurrentDirectory(in(u"none")));
  EXPECT_FALSE(files().setCurrentDirectory(in(u"file")));
  EXPECT_FALSE(files().setCurrentDirectory(u""));
  EXPECT_EQ(files().currentDirectory(), before);
}

TEST_P(FilesContract, AFileWithoutAVersionResourceHasNoVersion) {
  write(in(u"file"), "MZ and no more");
  EXPECT_FALSE(files().fileVersion(in(u"file")));
  EXPECT_FALSE(files().fileVersion(in(u"none")));
  EXPECT_FALSE(files().fileVersion(under().folder()));
}

TEST_P(FilesContract, ALinkIsDescribedItself) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "12345");
  if (!makeLink(in(u"toFolder"), in(u"folder"))) GTEST_SKIP() << "this host makes no links";
  ASSERT_TRUE(makeLink(in(u"toFile"), in(u"folder\\file")));
  EXPECT_EQ(list(under().folder()), "folder\\ toFile@ toFolder\\@");
  auto const toFolder = files().status(in(u"toFolder"));
  EXPECT_TRUE(toFolder && toFolder->isLink && toFolder->isDirectory);
  auto const toFile = files().status(in(u"toFile"));
  EXPECT_TRUE(toFile && toFile->isLink && !toFile->isDirectory);
}

TEST_P(FilesContract, OpeningFollowsALink) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "12345");
  if (!makeLink(in(u"toFolder"), in(u"folder"))) GTEST_SKIP() << "this host makes no links";
  ASSERT_TRUE(makeLink(in(u"toFile"), in(u"folder\\file")));
  EXPECT_EQ(read(in(u"toFile")), "12345");
  EXPECT_EQ(read(in(u"toFolder\\FILE")), "12345");
  EXPECT_EQ(list(in(u"toFolder")), "file");
}

TEST_P(FilesContract, RemovingALinkLeavesWhatItPointsTo) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "12345");
  if (!makeLink(in(u"toFolder"), in(u"folder"))) GTEST_SKIP() << "this host makes no links";
  ASSERT_TRUE(makeLink(in(u"toFile"), in(u"folder\\file")));
  EXPECT_TRUE(files().removeDirectory(in(u"toFolder")));
  EXPECT_TRUE(files().removeFile(in(u"toFile")));
  EXPECT_EQ(list(under().folder()), "folder\\");
  EXPECT_EQ(read(in(u"folder\\file")), "12345");
}

TEST_P(FilesContract, ALinkToNothingExistsAndCanBeRemoved) {
  if (!makeLink(in(u"link"), in(u"none"))) GTEST_SKIP() << "this host makes no links";
  auto const status = files().status(in(u"link"));
  EXPECT_TRUE(status && status->isLink);
  EXPECT_THROW(files().openForReading(in(u"link")), SystemError);
  EXPECT_TRUE(files().removeFile(in(u"link")));
  EXPECT_FALSE(files().status(in(u"link")));
}

TEST_P(FilesContract, ALockIsHeldAgainstEveryOther) {
  using namespace std::chrono_literals;
  auto const lock = files().lock(in(u"lock"), 0ms);
  EXPECT_EQ(errorOf([&] { files().lock(in(u"LOCK"), 0ms); }), codeOf(ErrorCode::timeout));
  EXPECT_EQ(errorOf([&] { files().lock(in(u"lock"), 20ms); }), codeOf(ErrorCode::timeout));
}

TEST_P(FilesContract, ALockThatWasLetGoCanBeTaken) {
  using namespace std::chrono_literals;
  files().lock(in(u"lock"), 0ms);
  EXPECT_EQ(errorOf([&] { files().lock(in(u"lock"), 0ms); }), 0u);
}

TEST_P(FilesContract, ALockIsWaitedFor) {
  using namespace std::chrono_literals;
  auto lock = files().lock(in(u"lock"), 0ms);
  std::promise<void> waiting;
  auto second = std::async(std::launch::async, [&] {
    waiting.set_value();
    files().lock(in(u"lock"), 60s);
  });
  waiting.get_future().wait();
  lock.reset();
  EXPECT_NO_THROW(second.get());
}

TEST_P(FilesContract, ALockedFileKeepsItsContentAndIsReadAndWritten) {
  using namespace std::chrono_literals;
  write(in(u"lock"), "old");
  auto const lock = files().lock(in(u"lock"), 0ms);
  EXPECT_EQ(read(in(u"lock")), "old");
  write(in(u"lock"), "new");
  EXPECT_EQ(read(in(u"lock")), "new");
}

TEST_P(FilesContract, LocksOfTwoFilesDoNotMeet) {
  using namespace std::chrono_literals;
  auto const one = files().lock(in(u"one"), 0ms);
  EXPECT_EQ(errorOf([&] { files().lock(in(u"two"), 0ms); }), 0u);
}

TEST_P(FilesContract, WhatIsNoFileCannotBeLocked) {
  using namespace std::chrono_literals;
  files().createDirectory(in(u"folder"));
  EXPECT_NE(errorOf([&] { files().lock(in(u"folder"), 0ms); }), 0u);
  EXPECT_EQ(errorOf([&] { files().lock(in(u"missing\\lock"), 0ms); }),
            codeOf(ErrorCode::pathNotFound));
}

TEST_P(FilesContract, AReadOnlyFileTellsAndKeepsItsContent) {
  write(in(u"a"), "content");
  EXPECT_FALSE(files().status(in(u"a"))->attributes.isReadOnly);
  files().setReadOnly(in(u"a"), true);
  EXPECT_TRUE(files().status(in(u"a"))->attributes.isReadOnly);
  EXPECT_EQ(read(in(u"a")), "content");
  files().setReadOnly(in(u"a"), false);
  EXPECT_FALSE(files().status(in(u"a"))->attributes.isReadOnly);
  EXPECT_NO_THROW(write(in(u"a"), "new"));
}

TEST_P(FilesContract, TheTimeOfTheLastWriteIsPutBack) {
  write(in(u"a"), "content");
  machine::FileAttributes attributes;
  // 2000-01-01, a whole second: a simulated machine on Windows keeps no parts of one.
  attributes.written = 125'911'584'010'000'000;
  files().setAttributes(in(u"A"), attributes);
  EXPECT_EQ(files().status(in(u"a"))->attributes.written, attributes.written);
  // A time of 0 changes nothing.
  files().setAttributes(in(u"a"), {});
  EXPECT_EQ(files().status(in(u"a"))->attributes.written, attributes.written);
  EXPECT_EQ(read(in(u"a")), "content");
}

TEST_P(FilesContract, AReadOnlyFileGetsItsTimeToo) {
  write(in(u"a"), "content");
  files().setReadOnly(in(u"a"), true);
  auto attributes = files().status(in(u"a"))->attributes;
  attributes.written = 125'911'584'000'000'000;
  files().setAttributes(in(u"a"), attributes);
  EXPECT_EQ(files().status(in(u"a"))->attributes.written, attributes.written);
  EXPECT_TRUE(files().status(in(u"a"))->attributes.isReadOnly);
}

TEST_P(FilesContract, ALinkTellsWhatItLeadsToAndIsMadeAgain) {
  files().createDirectory(in(u"folder"));
  write(in(u"folder\\file"), "12345");
  EXPECT_EQ(files().link(in(u"folder")), std::nullopt);
  EXPECT_EQ(files().link(in(u"none")), std::nullopt);
  machine::Link const toFolder{in(u"folder"), true, false};
  machine::Link const toFile{u"folder\\file", false, false};
  try {
    files().createLink(in(u"toFolder"), toFolder);
  } catch (SystemError const&) {
    GTEST_SKIP() << "this host makes no links";
  }
  files().createLink(in(u"toFile"), toFile);
  EXPECT_EQ(files().link(in(u"toFolder")), toFolder);
  EXPECT_EQ(files().link(in(u"toFile")), toFile);
  EXPECT_EQ(read(in(u"toFile")), "12345");
  EXPECT_EQ(read(in(u"toFolder\\file")), "12345");
  EXPECT_THROW(files().createLink(in(u"toFile"), toFile), SystemError);
  EXPECT_EQ(read(in(u"toFile")), "12345");
}

TEST_P(FilesContract, OnlyFilesAreMadeReadOnly) {
  files().createDirectory(in(u"folder"));
  EXPECT_EQ(errorOf([&] { files().setReadOnly(in(u"folder"), true); }),
            static_cast<std::uint32_t>(ErrorCode::accessDenied));
  EXPECT_EQ(errorOf([&] { files().setReadOnly(in(u"none"), true); }),
            static_cast<std::uint32_t>(ErrorCode::fileNotFound));
  EXPECT_FALSE(files().status(in(u"folder"))->attributes.isReadOnly);
}

}  // namespace contract
