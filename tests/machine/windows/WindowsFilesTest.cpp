#include <windows.h>

#include <gmock/gmock.h>

#include <fstream>

#include "machine/error.hpp"
#include "tests/machine/windows/test_programs.hpp"
#include "tests/support/machine_fixture.hpp"

namespace {

using machine::DirectoryEntry;
using machine::FileVersion;
using machine::SystemError;
using machine::UString;
using machine::WriteMode;
using testing::HasSubstr;

std::wstring wide(UString const& text) {
  return machine::toWide(text);
}

class WindowsFiles : public tests::MachineTest {
 protected:
  std::vector<UString> namesIn(UString const& folder) {
    std::vector<UString> names;
    auto const stream = files().openDirectory(folder);
    for (DirectoryEntry entry; stream->next(entry);) {
      names.emplace_back(entry.name);
    }
    return names;
  }

  /// A file below enough folders for a path of more than 400 units.
  UString longPath() const {
    UString path = root();
    for (int i = 0; i < 8; ++i) {
      path += u"\\" + UString(50, static_cast<char16_t>(u'a' + i));
    }
    return path + u"\\file.txt";
  }
};

TEST_F(WindowsFiles, PathsBeyondTheOldLimitWorkInEveryOperation) {
  UString const path = longPath();
  ASSERT_GT(path.size(), 400u);
  writeFile(path, "content");
  EXPECT_EQ(readFile(path), "content");
  EXPECT_EQ(files().status(path)->size, 7u);
  UString const folder(machine::path_grammar::parent(path));
  EXPECT_EQ(namesIn(folder), std::vector<UString>{u"file.txt"});
  files().rename(path, folder + u"\\other.txt", false);
  EXPECT_FALSE(exists(path));
  EXPECT_TRUE(files().removeFile(folder + u"\\other.txt"));
  EXPECT_TRUE(files().removeDirectory(folder));
}

TEST_F(WindowsFiles, ALongPathMayHaveSlashesAndDots) {
  UString path = longPath();
  writeFile(path, "content");
  std::replace(path.begin() + 3, path.end(), u'\\', u'/');
  path.insert(path.rfind(u'/'), u"/./x/..");
  EXPECT_EQ(readFile(path), "content");
}

TEST_F(WindowsFiles, AVerbatimPathIsTakenAsItIs) {
  writeFile(at(u"file.txt"), "content");
  EXPECT_EQ(readFile(u"\\\\?\\" + at(u"file.txt")), "content");
}

TEST_F(WindowsFiles, AShortRelativePathBelowALongCurrentFolderWorks) {
  UString const before = files().currentDirectory();
  UString folder = root();
  while (folder.size() < 200) {
    folder += u"\\" + UString(20, u'f');
  }
  makeDirectory(folder);
  ASSERT_TRUE(files().setCurrentDirectory(folder));
  UString const name = UString(100, u'n') + u".txt";
  files().openForWriting(name, WriteMode::createNew)->write("content");
  EXPECT_EQ(readFile(folder + u"\\" + name), "content");
  EXPECT_TRUE(files().setCurrentDirectory(before));
}

TEST_F(WindowsFiles, NamesPassUnitByUnit) {
  std::vector<UString> const names{u"\u00e4\u03a9\u0416.txt", u"\u4e16\u754c", u"\U0001F600 x"};
  for (auto const& name : names) {
    writeFile(at(name), "x");
    EXPECT_TRUE(exists(at(name)));
  }
  EXPECT_THAT(namesIn(root()), testing::UnorderedElementsAreArray(names));
}

TEST_F(WindowsFiles, NamesThatCannotExistDoNotExist) {
  for (auto const* const name : {u"a*b", u"a?b", u"a<b", u"a|b", u"a\"b", u"a:b:c:d"}) {
    EXPECT_FALSE(files().status(at(name))) << machine::toUtf8(name);
  }
  EXPECT_FALSE(files().status(u""));
  EXPECT_FALSE(files().status(u"Q:\\nothing"));
}

TEST_F(WindowsFiles, AWildcardFindsNothing) {
  writeFile(at(u"file.txt"), "x");
  EXPECT_FALSE(files().status(at(u"fil*.txt")));
  EXPECT_FALSE(files().removeFile(at(u"fil?.txt")));
  EXPECT_TRUE(exists(at(u"file.txt")));
}

TEST_F(WindowsFiles, ANulEndsNoName) {
  writeFile(at(u"file.txt"), "x");
  UString const tricky = at(u"file.txt") + UString(u"\0.bak", 5);
  EXPECT_FALSE(files().status(tricky));
  EXPECT_FALSE(files().removeFile(tricky));
  EXPECT_THROW(files().openForReading(tricky), SystemError);
  EXPECT_THROW(files().openForWriting(tricky, WriteMode::truncate), SystemError);
  EXPECT_THROW(files().rename(at(u"file.txt"), tricky, true), SystemError);
  EXPECT_EQ(readFile(at(u"file.txt")), "x");
}

TEST_F(WindowsFiles, AFileThatNobodyElseMayOpenExists) {
  UString const path = at(u"locked.txt");
  writeFile(path, "12345");
  HANDLE const locked =
      CreateFileW(wide(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(locked, INVALID_HANDLE_VALUE);
  auto const status = files().status(path);
  EXPECT_THROW(files().openForReading(path), SystemError);
  CloseHandle(locked);
  ASSERT_TRUE(status);
  EXPECT_EQ(status->size, 5u);
}

TEST_F(WindowsFiles, AnEmptyFolderHasNoNames) {
  EXPECT_EQ(namesIn(root()), std::vector<UString>{});
}

TEST_F(WindowsFiles, AMissingFolderIsAnErrorAndNotEmpty) {
  try {
    files().openDirectory(at(u"missing"));
    FAIL();
  } catch (SystemError const& error) {
    EXPECT_TRUE(error.isMissing()) << error.what();
  }
}

TEST_F(WindowsFiles, AFileIsNoFolder) {
  writeFile(at(u"file.txt"), "x");
  EXPECT_THROW(files().openDirectory(at(u"file.txt")), SystemError);
  EXPECT_FALSE(files().status(at(u"file.txt\\below")));
}

TEST_F(WindowsFiles, AFolderMayBeNamedWithASeparatorAtItsEnd) {
  writeFile(at(u"file.txt"), "x");
  EXPECT_EQ(namesIn(root() + u"\\"), std::vector<UString>{u"file.txt"});
  EXPECT_EQ(namesIn(root() + u"/"), std::vector<UString>{u"file.txt"});
  EXPECT_TRUE(files().status(root() + u"\\")->isDirectory);
}

TEST_F(WindowsFiles, ReadOnlyFilesAndFoldersAreRemoved) {
  writeFile(at(u"file.txt"), "x");
  makeDirectory(at(u"folder"));
  ASSERT_TRUE(SetFileAttributesW(wide(at(u"file.txt")).c_str(), FILE_ATTRIBUTE_READONLY));
  ASSERT_TRUE(SetFileAttributesW(wide(at(u"folder")).c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_TRUE(files().removeFile(at(u"file.txt")));
  EXPECT_TRUE(files().removeDirectory(at(u"folder")));
  EXPECT_EQ(namesIn(root()), std::vector<UString>{});
}

TEST_F(WindowsFiles, AReadOnlyFileThatCannotBeRemovedStaysReadOnly) {
  UString const path = at(u"file.txt");
  writeFile(path, "x");
  ASSERT_TRUE(SetFileAttributesW(wide(path).c_str(), FILE_ATTRIBUTE_READONLY));
  HANDLE const locked = CreateFileW(wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  EXPECT_THROW(files().removeFile(path), SystemError);
  EXPECT_TRUE(GetFileAttributesW(wide(path).c_str()) & FILE_ATTRIBUTE_READONLY);
  CloseHandle(locked);
  EXPECT_TRUE(files().removeFile(path));
}

TEST_F(WindowsFiles, AppendingWritesAtTheEndWhateverOthersWrote) {
  UString const path = at(u"log.txt");
  auto const first = files().openForWriting(path, WriteMode::append);
  auto const second = files().openForWriting(path, WriteMode::append);
  first->write("1");
  second->write("2");
  first->write("3");
  EXPECT_EQ(readFile(path), "123");
}

TEST_F(WindowsFiles, DevicesAreNotOpenedAsFiles) {
  EXPECT_THROW(files().openForReading(u"NUL"), SystemError);
  EXPECT_THROW(files().openForWriting(u"NUL", WriteMode::append), SystemError);
}

TEST_F(WindowsFiles, AnExistingFolderIsFineEvenADrivesRoot) {
  EXPECT_NO_THROW(files().createDirectory(root()));
  EXPECT_NO_THROW(files().createDirectory(u"C:\\"));
  writeFile(at(u"file.txt"), "x");
  EXPECT_THROW(files().createDirectory(at(u"file.txt")), SystemError);
}

TEST_F(WindowsFiles, ErrorsNameOperationPathAndTheSystemsReason) {
  try {
    files().openForReading(u"C:\\missing\\\u00e4.txt");
    FAIL();
  } catch (SystemError const& error) {
    EXPECT_THAT(error.what(), HasSubstr("open for reading C:\\missing\\\u00e4.txt: "));
    EXPECT_THAT(error.what(), testing::EndsWith(". (3)"));
    EXPECT_TRUE(error.is(machine::ErrorCode::pathNotFound));
  }
}

TEST_F(WindowsFiles, FileVersionIsTheFixedOneOfTheVersionResource) {
  using tests::testProgram;
  EXPECT_EQ(files().fileVersion(testProgram(u"version_9.exe")), (FileVersion{9, 0, 0, 0}));
  EXPECT_EQ(files().fileVersion(testProgram(u"version_10.exe")), (FileVersion{10, 0, 0, 0}));
  EXPECT_EQ(files().fileVersion(testProgram(u"version_25_1_0_1.exe")), (FileVersion{25, 1, 0, 1}));
  EXPECT_EQ(files().fileVersion(testProgram(u"version_largest.exe")),
            (FileVersion{65535, 65534, 65533, 65532}));
}

TEST_F(WindowsFiles, NoVersionWithoutAResourceOrAProgram) {
  writeFile(at(u"text.exe"), "no program");
  writeFile(at(u"empty.exe"), "");
  EXPECT_EQ(files().fileVersion(tests::testProgram(u"exit_with.exe")), std::nullopt);
  EXPECT_EQ(files().fileVersion(at(u"text.exe")), std::nullopt);
  EXPECT_EQ(files().fileVersion(at(u"empty.exe")), std::nullopt);
  EXPECT_EQ(files().fileVersion(at(u"missing.exe")), std::nullopt);
  EXPECT_EQ(files().fileVersion(root()), std::nullopt);
  EXPECT_EQ(files().fileVersion(u""), std::nullopt);
}

TEST_F(WindowsFiles, AVersionIsNotLookedForOnTheSearchPath) {
  EXPECT_NE(files().fileVersion(u"C:\\windows\\system32\\kernel32.dll"), std::nullopt);
  EXPECT_EQ(files().fileVersion(u"kernel32.dll"), std::nullopt);
}

TEST_F(WindowsFiles, ATruncatedProgramHasNoVersion) {
  std::string const whole = readFile(tests::testProgram(u"version_9.exe"));
  for (std::size_t const size :
       {std::size_t{1}, std::size_t{64}, std::size_t{512}, whole.size() / 2}) {
    writeFile(at(u"cut.exe"), std::string_view(whole).substr(0, size));
    EXPECT_NO_THROW(files().fileVersion(at(u"cut.exe"))) << size;
  }
}

}  // namespace
