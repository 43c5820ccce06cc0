#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

#include "fl/filesystem/operations.hpp"
#include "install/postinstall/special_folders.hpp"
#include "registration/utility/utilities.hpp"
#include "tests/support/command_fixture.hpp"

namespace registration::utility {
namespace {

TEST(CompareVersions, ComparesFieldsAsNumbers) {
  EXPECT_EQ(compareVersions(u"10.0", u"9.9.9"), 1);
  EXPECT_EQ(compareVersions(u"9.9.9", u"10.0"), -1);
  EXPECT_EQ(compareVersions(u"1.10", u"1.9"), 1);
}

TEST(CompareVersions, MissingFieldsCountAsZero) {
  EXPECT_EQ(compareVersions(u"1.2", u"1.2.0"), 0);
  EXPECT_EQ(compareVersions(u"1.2", u"1.2.0.0"), 0);
  EXPECT_EQ(compareVersions(u"1.2", u"1.2.0.1"), -1);
}

TEST(CompareVersions, EmptyTextEqualsZero) {
  EXPECT_EQ(compareVersions(u"", u"0"), 0);
}

TEST(CompareVersions, FieldWithoutDigitsCountsAsZero) {
  EXPECT_EQ(compareVersions(u"1.a", u"1.0"), 0);
  EXPECT_EQ(compareVersions(u"x", u"1"), -1);
}

TEST(CompareVersions, FieldReadsAsAtoiReadsIt) {
  EXPECT_EQ(compareVersions(u"07", u"7"), 0);
  EXPECT_EQ(compareVersions(u" \t5", u"5"), 0);
  EXPECT_EQ(compareVersions(u"+5", u"5"), 0);
  EXPECT_EQ(compareVersions(u"-1", u"0"), -1);
  EXPECT_EQ(compareVersions(u"5rc2", u"5"), 0);
  EXPECT_EQ(compareVersions(u"1..2", u"1.0.2"), 0);
}

TEST(CompareVersions, NumbersBeyondIntCountAsTheNearest) {
  EXPECT_EQ(compareVersions(u"99999999999999999999", u"2147483647"), 0);
  EXPECT_EQ(compareVersions(u"99999999999999999999", u"2147483646"), 1);
  EXPECT_EQ(compareVersions(u"-99999999999999999999", u"0"), -1);
}

TEST(Split, KeepsEmptyTokensButNotALastOne) {
  EXPECT_EQ(split(u"a;;b;", ';'), (std::vector<UString>{u"a", u"", u"b"}));
  EXPECT_EQ(split(u";a", ';'), (std::vector<UString>{u"", u"a"}));
  EXPECT_EQ(split(u";", ';'), (std::vector<UString>{u""}));
}

TEST(Split, EmptyTextHasNoTokens) {
  EXPECT_TRUE(split(u"", ';').empty());
}

TEST(Split, KeepsTextBeyondAscii) {
  EXPECT_EQ(split(u"\u00e4;\u65e5\U0001F600", ';'),
            (std::vector<UString>{u"\u00e4", u"\u65e5\U0001F600"}));
}

TEST(GetShortcutFileName, NameWins) {
  EXPECT_EQ(getShortcutFileName(u"", u"My Tool"), u"My Tool.lnk");
  EXPECT_EQ(getShortcutFileName(u"C:\\p\\tool.exe", u"My Tool"), u"My Tool.lnk");
}

TEST(GetShortcutFileName, WithoutANameItIsTheStemOfTheExecutable) {
  EXPECT_EQ(getShortcutFileName(u"C:\\p\\tool.exe", u""), u"tool.lnk");
  EXPECT_EQ(getShortcutFileName(u"C:\\x\\app.exe", u""), u"app.lnk");
  EXPECT_EQ(getShortcutFileName(u"C:/p/my.tool.exe", u""), u"my.tool.lnk");
}

TEST(GetShortcutFileName, BothEmptyIsARuntimeError) {
  try {
    getShortcutFileName(u"", u"");
    FAIL() << "accepted";
  } catch (std::runtime_error const& refused) {
    EXPECT_STREQ(refused.what(),
                 "Exception in command_impls: executable file path cannot be empty");
  }
}

TEST(ToLower, LowersAsciiOnly) {
  EXPECT_EQ(toLower(u"C:\\Program Files"), u"c:\\program files");
  EXPECT_EQ(toLower(u"\u00C4\u0410\u0130Z"), u"\u00C4\u0410\u0130z");
  EXPECT_EQ(toLower(u""), u"");
}

using GetFileVersion = tests::CommandTest;

TEST_F(GetFileVersion, FileWithoutAResourceIsAllZeros) {
  writeFile(root() / u"plain.exe", "no program at all");
  EXPECT_EQ(getFileVersion((root() / u"plain.exe").ustring()), u"0.0.0.0");
  EXPECT_EQ(getFileVersion((root() / u"missing.exe").ustring()), u"0.0.0.0");
}

/// Works in the desktop's and the Start menu's real place, on names that nothing else uses.
class RemoveSpecialFolderEntry : public tests::CommandTest,
                                 public ::testing::WithParamInterface<char16_t const*> {
 protected:
  Path folder() const {
    std::wstring buffer(install::postinstall::specialFolderBufferLength, L'\0');
    install::postinstall::GetSpecialFolderPath(fl::i18n::to_wstring(GetParam()).c_str(),
                                               buffer.data());
    return Path(fl::i18n::to_ustring(buffer.c_str()));
  }
};

TEST_P(RemoveSpecialFolderEntry, MissingEntryIsNoError) {
  EXPECT_NO_THROW(removeSpecialFolderEntry(GetParam(), u"registration-test-missing.lnk", u""));
}

TEST_P(RemoveSpecialFolderEntry, RemovesTheEntryInTheFolder) {
  fl::filesystem::create_directories(folder());
  writeFile(folder() / u"registration-test.lnk", "x");
  removeSpecialFolderEntry(GetParam(), u"registration-test.lnk", u"");
  EXPECT_FALSE(fl::filesystem::exists(folder() / u"registration-test.lnk"));
  EXPECT_TRUE(fl::filesystem::exists(folder()));
}

TEST_P(RemoveSpecialFolderEntry, SubFolderComesBeforeTheEntry) {
  Path const sub = folder() / u"registration-test-folder";
  fl::filesystem::create_directories(sub);
  writeFile(sub / u"a.lnk", "x");
  writeFile(sub / u"b.lnk", "x");
  removeSpecialFolderEntry(GetParam(), u"a.lnk", u"registration-test-folder");
  EXPECT_FALSE(fl::filesystem::exists(sub / u"a.lnk"));
  EXPECT_TRUE(fl::filesystem::exists(sub / u"b.lnk"));
  removeSpecialFolderEntry(GetParam(), u"", u"registration-test-folder");
  EXPECT_FALSE(fl::filesystem::exists(sub)) << "a folder goes with everything in it";
}

TEST_P(RemoveSpecialFolderEntry, NothingButWhatLiesStrictlyInsideIsRemoved) {
  Path const sub = folder() / u"registration-test-folder";
  fl::filesystem::create_directories(sub);
  writeFile(root() / u"precious\\a.txt", "x");
  Path const beside = folder().parent_path() / u"registration-test-precious.lnk";
  writeFile(beside, "x");
  std::pair<UString, UString> const outside[] = {
      // the entry, the sub-folder
      {u"", u""},
      {u".", u""},
      {u"..", u""},
      {u" . ", u""},
      {u"..\\registration-test-precious.lnk", u""},
      {u"../registration-test-precious.lnk", u""},
      {u"registration-test-folder\\..\\..\\registration-test-precious.lnk", u""},
      {(root() / u"precious").ustring(), u""},
      {u"C:x.lnk", u""},
      {u"a.lnk:stream", u""},
      {u"registration-test-precious.lnk", u".."},
      {u"registration-test-precious.lnk", u"registration-test-folder\\..\\.."},
      {u"precious", root().ustring()},
      {u"", (root() / u"precious").ustring()},
      {u"", u".."},
      {u"", u"..\\..\\.."},
      {u"", u"."},
      {u"", u"\\"},
      {u"a.lnk", u"C:"},
  };
  for (auto const& [entry, subFolder] : outside) {
    EXPECT_THROW(removeSpecialFolderEntry(GetParam(), entry, subFolder), std::invalid_argument)
        << fl::i18n::to_string(subFolder + u" / " + entry);
  }
  EXPECT_TRUE(fl::filesystem::exists(root() / u"precious\\a.txt"));
  EXPECT_TRUE(fl::filesystem::exists(beside));
  EXPECT_TRUE(fl::filesystem::exists(sub));
  fl::filesystem::remove(beside);
  removeSpecialFolderEntry(GetParam(), u"", u"registration-test-folder");
}

#if !defined(_WIN32)  // links, made where the simulated machine keeps its files
TEST_P(RemoveSpecialFolderEntry, ALinkInsideGoesItselfAndNoneIsGoneThrough) {
  namespace fs = std::filesystem;
  fl::filesystem::create_directories(folder());
  writeFile(root() / u"precious\\a.lnk", "x");
  auto const precious = hostPath((root() / u"precious").ustring());
  auto const link = hostPath((folder() / u"link").ustring());
  fs::create_directory_symlink(precious, link);
  EXPECT_THROW(removeSpecialFolderEntry(GetParam(), u"a.lnk", u"link"), std::invalid_argument);
  EXPECT_THROW(removeSpecialFolderEntry(GetParam(), u"", u"link\\deeper"), std::invalid_argument);
  EXPECT_TRUE(exists(root() / u"precious\\a.lnk"));
  removeSpecialFolderEntry(GetParam(), u"link", u"");
  EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
  fs::create_directory_symlink(precious, link);
  removeSpecialFolderEntry(GetParam(), u"", u"link");
  EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
  EXPECT_TRUE(exists(root() / u"precious\\a.lnk"));
}
#endif

INSTANTIATE_TEST_SUITE_P(Folders, RemoveSpecialFolderEntry,
                         ::testing::Values(u"desktop", u"startmenu"),
                         [](auto const& tested) { return fl::i18n::to_string(tested.param); });

}  // namespace
}  // namespace registration::utility
