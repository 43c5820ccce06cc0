#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "machine/path_grammar.hpp"

namespace machine::path_grammar {

namespace {

using Names = std::vector<std::u16string_view>;

UString inFolder(std::u16string_view path) {
  return absolute(path, u"C:\\cur\\dir");
}

}  // namespace

TEST(PathGrammar, RootLengthOfEveryForm) {
  EXPECT_EQ(rootLength(u"C:\\a"), 3u);
  EXPECT_EQ(rootLength(u"c:/a"), 3u);
  EXPECT_EQ(rootLength(u"C:a"), 2u);
  EXPECT_EQ(rootLength(u"C:"), 2u);
  EXPECT_EQ(rootLength(u"\\a"), 1u);
  EXPECT_EQ(rootLength(u"\\\\srv\\share\\a"), 12u);
  EXPECT_EQ(rootLength(u"//srv/share/x"), 12u);
  EXPECT_EQ(rootLength(u"\\\\srv\\share"), 11u);
  EXPECT_EQ(rootLength(u"\\\\?\\C:\\a"), 7u);
  EXPECT_EQ(rootLength(u"\\\\?\\UNC\\srv\\share\\a"), 18u);
  EXPECT_EQ(rootLength(u"\\\\?\\UNC\\srv\\share"), 17u);
  EXPECT_EQ(rootLength(u"\\\\.\\pipe\\a"), 9u);
  EXPECT_EQ(rootLength(u"a\\b"), 0u);
  EXPECT_EQ(rootLength(u""), 0u);
}

TEST(PathGrammar, AServerWithoutAShareIsAllRoot) {
  EXPECT_EQ(rootLength(u"\\\\srv"), 5u);
  EXPECT_EQ(rootLength(u"\\\\srv\\"), 6u);
  EXPECT_EQ(rootLength(u"\\\\"), 2u);
  EXPECT_EQ(rootLength(u"\\\\?\\"), 4u);
  EXPECT_EQ(rootLength(u"\\\\?\\UNC"), 7u);
  EXPECT_EQ(rootLength(u"\\\\."), 3u);
}

TEST(PathGrammar, OnlyALetterNamesADrive) {
  EXPECT_EQ(rootLength(u"1:\\a"), 0u);
  EXPECT_EQ(rootLength(u"\u00E4:\\a"), 0u);
  EXPECT_EQ(rootLength(u":\\a"), 0u);
}

TEST(PathGrammar, AnAbsolutePathNamesOnePlace) {
  for (auto const* path :
       {u"C:\\a", u"C:/", u"\\\\srv\\share", u"//srv/share", u"\\\\?\\C:\\a", u"\\\\.\\pipe\\a"})
    EXPECT_TRUE(isAbsolute(path)) << toUtf8(path);
  for (auto const* path : {u"", u"a", u"\\a", u"C:a", u"C:", u"..", u"1:\\a"})
    EXPECT_FALSE(isAbsolute(path)) << toUtf8(path);
}

/// Whoever writes such an entry has the computer that looks at it log on to a server of his.
TEST(PathGrammar, EverySpellingOfAServerIsKnown) {
  for (auto const* path : {
           u"\\\\srv\\share\\a",
           u"\\\\srv",
           u"//srv/share",
           u"\\/srv\\share",
           u"/\\srv/share",
           u"\\\\\\srv\\share",
           u"\\\\srv/..\\..\\a",
           u"\\\\?\\UNC\\srv\\share",
           u"\\\\?\\unc\\srv\\share",
           u"\\\\.\\UNC\\srv\\share",
           u"//?/UNC/srv/share",
           u"//./UNC\\srv/share",
           u"\\??\\UNC\\srv\\share",
           u"\\\\.\\\\UNC\\\\srv\\share",
           u"\\\\.\\UNC. \\srv\\share",
           u"\\\\.\\C:\\..\\UNC\\srv\\share",
           u"\\\\.\\.\\UNC\\srv",
       })
    EXPECT_EQ(reachedServer(path), u"srv") << toUtf8(path);
  EXPECT_EQ(reachedServer(u"\\\\srv@80\\share"), u"srv@80");
  EXPECT_EQ(reachedServer(u"\\\\srv@SSL@443\\DavWWWRoot"), u"srv@SSL@443");
  EXPECT_EQ(reachedServer(u"\\\\127.0.0.1\\c$"), u"127.0.0.1");
}

TEST(PathGrammar, AnUnknownDeviceMayLeadAnywhere) {
  for (auto const* path : {
           u"\\\\?\\GLOBALROOT\\Device\\Mup\\srv\\share",
           u"\\\\?\\GLOBALROOT\\??\\UNC\\srv\\share",
           u"\\\\.\\globalroot\\Device\\LanmanRedirector\\srv",
           u"\\??\\Global\\UNC\\srv\\share",
           u"\\\\.\\pipe\\a",
           u"\\\\?\\C:\\..",  // the drive, taken literally
           u"\\\\.\\C:a",
           u"\\\\?\\C:/a",
       }) {
    bool const isDrive = UString(path) == u"\\\\?\\C:\\..";
    EXPECT_EQ(reachedServer(path), isDrive ? u"" : path) << toUtf8(path);
  }
}

TEST(PathGrammar, DrivesVolumesAndRelativePathsReachNoServer) {
  for (auto const* path : {u"",
                           u"a",
                           u"\\",
                           u"\\a",
                           u"C:",
                           u"C:\\a",
                           u"C:/a",
                           u"a\\\\srv\\share",
                           u"http://srv/a",
                           u"\\\\?\\C:\\a",
                           u"\\\\.\\c:\\a",
                           u"//?/C:/a",
                           u"\\??\\C:\\a",
                           u"\\\\?\\C:",
                           u"\\\\?\\Volume{01234567-89ab-cdef-0123-456789abcdef}\\a",
                           u"\\\\.\\volume{0}\\a",
                           u"\\\\",
                           u"\\\\?\\",
                           u"\\\\.",
                           u"\\\\?\\UNC",
                           u"\\\\.\\UNC\\srv\\..\\..\\C:\\a"})
    EXPECT_EQ(reachedServer(path), u"") << toUtf8(path);
}

TEST(PathGrammar, AServerIsForeignWhereItIsNotThatOfTheHome) {
  EXPECT_EQ(foreignServer(u"\\\\srv\\share\\a", u"C:\\p"), u"srv");
  EXPECT_EQ(foreignServer(u"\\\\srv\\share\\a", u""), u"srv");
  EXPECT_EQ(foreignServer(u"\\\\SRV\\other", u"\\\\srv\\share\\p"), u"");
  EXPECT_EQ(foreignServer(u"//srv/other", u"\\\\?\\UNC\\srv\\share\\p"), u"");
  EXPECT_EQ(foreignServer(u"\\\\srv@80\\share", u"\\\\srv\\share"), u"srv@80");
  EXPECT_EQ(foreignServer(u"\\\\srv.example\\share", u"\\\\srv\\share"), u"srv.example");
  EXPECT_EQ(foreignServer(u"C:\\a", u"\\\\srv\\share"), u"");
  EXPECT_EQ(foreignServer(u"a", u"C:\\p"), u"");
}

TEST(PathGrammar, OnlyBackslashesMakeAPathVerbatim) {
  EXPECT_TRUE(isVerbatim(u"\\\\?\\C:\\a"));
  EXPECT_FALSE(isVerbatim(u"//?/C:/a"));
  EXPECT_FALSE(isVerbatim(u"\\\\?"));
  EXPECT_FALSE(isVerbatim(u"\\\\.\\C:\\a"));
}

TEST(PathGrammar, ComponentsAreTheNamesAfterTheRoot) {
  EXPECT_EQ(components(u"C:\\a\\\\b/c"), (Names{u"a", u"b", u"c"}));
  EXPECT_EQ(components(u"\\\\srv\\share\\a\\"), (Names{u"a"}));
  EXPECT_EQ(components(u"C:a"), (Names{u"a"}));
  EXPECT_EQ(components(u".\\..\\a"), (Names{u".", u"..", u"a"}));
  EXPECT_EQ(components(u"\\\\?\\C:\\a/b\\c"), (Names{u"a/b", u"c"}));
  EXPECT_TRUE(components(u"C:\\").empty());
  EXPECT_TRUE(components(u"").empty());
}

TEST(PathGrammar, ToNativeTurnsSlashes) {
  EXPECT_EQ(toNative(u"C:/a/b\\c"), u"C:\\a\\b\\c");
  EXPECT_EQ(toNative(u"//srv/share"), u"\\\\srv\\share");
}

TEST(PathGrammar, ToNativeLeavesAVerbatimPath) {
  EXPECT_EQ(toNative(u"\\\\?\\C:\\a/b"), u"\\\\?\\C:\\a/b");
}

TEST(PathGrammar, JoinPutsOneBackslashBetween) {
  EXPECT_EQ(join(u"C:\\a\\", u"\\b"), u"C:\\a\\b");
  EXPECT_EQ(join(u"C:\\a", u"b"), u"C:\\a\\b");
  EXPECT_EQ(join(u"C:\\a//", u"b"), u"C:\\a\\b");
  EXPECT_EQ(join(u"C:\\", u"b"), u"C:\\b");
  EXPECT_EQ(join(u"\\", u"b"), u"\\b");
}

TEST(PathGrammar, JoinWithAnEmptySideAddsNothing) {
  EXPECT_EQ(join(u"", u"b"), u"b");
  EXPECT_EQ(join(u"C:\\a\\", u""), u"C:\\a\\");
  EXPECT_EQ(join(u"", u""), u"");
}

TEST(PathGrammar, FileNameIsTheLastComponent) {
  EXPECT_EQ(fileName(u"C:\\a\\b.c"), u"b.c");
  EXPECT_EQ(fileName(u"C:/a/b"), u"b");
  EXPECT_EQ(fileName(u"C:a"), u"a");
  EXPECT_EQ(fileName(u"a"), u"a");
  EXPECT_EQ(fileName(u"\\\\?\\C:\\a/b"), u"a/b");
}

TEST(PathGrammar, ARootOrATrailingSeparatorLeavesNoFileName) {
  for (auto const* path : {u"C:\\a\\", u"C:\\", u"C:", u"\\\\srv\\share", u"\\", u""})
    EXPECT_EQ(fileName(path), u"") << toUtf8(path);
}

TEST(PathGrammar, ParentNeverGoesAboveTheRoot) {
  EXPECT_EQ(parent(u"C:\\a\\b"), u"C:\\a");
  EXPECT_EQ(parent(u"C:\\a"), u"C:\\");
  EXPECT_EQ(parent(u"C:\\"), u"C:\\");
  EXPECT_EQ(parent(u"C:\\a\\\\b"), u"C:\\a");
  EXPECT_EQ(parent(u"C:a"), u"C:");
  EXPECT_EQ(parent(u"\\\\srv\\share\\a"), u"\\\\srv\\share\\");
  EXPECT_EQ(parent(u"\\\\srv\\share"), u"\\\\srv\\share");
  EXPECT_EQ(parent(u"\\\\?\\C:\\a"), u"\\\\?\\C:\\");
  EXPECT_EQ(parent(u"a"), u"");
  EXPECT_EQ(parent(u""), u"");
}

TEST(PathGrammar, AbsoluteResolvesRelativeForms) {
  EXPECT_EQ(inFolder(u"a"), u"C:\\cur\\dir\\a");
  EXPECT_EQ(inFolder(u"\\a"), u"C:\\a");
  EXPECT_EQ(inFolder(u"C:a"), u"C:\\cur\\dir\\a");
  EXPECT_EQ(inFolder(u"c:a"), u"C:\\cur\\dir\\a");
  EXPECT_EQ(inFolder(u"C:"), u"C:\\cur\\dir");
  EXPECT_EQ(inFolder(u"."), u"C:\\cur\\dir");
  EXPECT_EQ(inFolder(u"D:\\a"), u"D:\\a");
  EXPECT_EQ(absolute(u"\\a", u"\\\\srv\\share\\cur"), u"\\\\srv\\share\\a");
  EXPECT_EQ(absolute(u"..\\a", u"\\\\srv\\share\\cur"), u"\\\\srv\\share\\a");
}

TEST(PathGrammar, AnotherDriveStartsAtItsRoot) {
  EXPECT_EQ(inFolder(u"D:a"), u"D:\\a");
  EXPECT_EQ(inFolder(u"D:"), u"D:\\");
}

TEST(PathGrammar, AbsoluteWorksOutDots) {
  EXPECT_EQ(inFolder(u"..\\a\\.\\b\\..\\c"), u"C:\\cur\\a\\c");
}

TEST(PathGrammar, DotDotStopsAtTheRoot) {
  EXPECT_EQ(inFolder(u"..\\..\\..\\..\\a"), u"C:\\a");
  EXPECT_EQ(inFolder(u"C:\\.."), u"C:\\");
  EXPECT_EQ(inFolder(u"\\\\srv\\share\\..\\..\\a"), u"\\\\srv\\share\\a");
}

TEST(PathGrammar, AbsoluteDropsTrailingDotsAndBlanks) {
  EXPECT_EQ(inFolder(u"C:\\a. .\\b "), u"C:\\a\\b");
  EXPECT_EQ(inFolder(u"C:\\.a"), u"C:\\.a");
  EXPECT_EQ(inFolder(u"C:\\ a"), u"C:\\ a");
}

TEST(PathGrammar, ANameOfDotsAndBlanksIsEmpty) {
  EXPECT_EQ(inFolder(u"C:\\...\\a"), u"C:\\a");
  EXPECT_EQ(inFolder(u"C:\\ \\a\\. ."), u"C:\\a");
}

TEST(PathGrammar, AbsoluteMakesSeparatorsNativeAndSingle) {
  EXPECT_EQ(inFolder(u"C://a///b/"), u"C:\\a\\b");
  EXPECT_EQ(inFolder(u"//srv/share//x"), u"\\\\srv\\share\\x");
}

TEST(PathGrammar, AbsoluteLeavesAVerbatimPath) {
  EXPECT_EQ(inFolder(u"\\\\?\\C:\\a\\..\\b. "), u"\\\\?\\C:\\a\\..\\b. ");
}

TEST(PathGrammar, AbsoluteLeavesAnEmptyPath) {
  EXPECT_EQ(inFolder(u""), u"");
}

TEST(PathGrammar, APathIsTooLongWhenItsVerbatimFormIs) {
  UString const longest = u"\\\\?\\C:\\" + UString(32767 - 7, u'n');
  EXPECT_FALSE(isTooLong(longest));
  EXPECT_TRUE(isTooLong(longest + u"n"));
  EXPECT_TRUE(isTooLong(u"C:\\" + UString(32767 - 3, u'n')));
  EXPECT_TRUE(isTooLong(UString(40'000, u'n')));
  EXPECT_FALSE(isTooLong(u"C:\\" + UString(32'000, u'n')));
  EXPECT_FALSE(isTooLong(u""));
  UString const dots = u"C:\\a" + UString(40'000, u'.');
  EXPECT_EQ(absolute(dots, u"C:\\"), dots) << "which would make a usable path of it";
}

TEST(PathGrammar, RandomPathsKeepTheRulesAndTheirBounds) {
  std::mt19937 random(20'240'603);
  UString const units = u"\\\\\\//:?..  CcaUN1\u00E4*\U0001F600";
  for (int i = 0; i < 150'000; ++i) {
    auto const size = random() % 20;
    // On the heap to the unit, so that the sanitizer sees a read beyond it.
    auto const text = std::make_unique<char16_t[]>(size);
    std::generate_n(text.get(), size, [&] { return units[random() % units.size()]; });
    std::u16string_view const path(text.get(), size);
    SCOPED_TRACE(toUtf8(path));

    auto const root = rootLength(path);
    ASSERT_LE(root, path.size());
    for (auto const name : components(path)) ASSERT_FALSE(name.empty());
    ASSERT_TRUE(path.ends_with(fileName(path)));
    ASSERT_TRUE(path.starts_with(parent(path)));
    ASSERT_GE(parent(path).size(), root);
    ASSERT_EQ(toNative(path).size(), path.size());
    ASSERT_TRUE(join(u"C:\\x", path).starts_with(u"C:\\x"));

    auto const whole = inFolder(path);
    ASSERT_EQ(inFolder(whole), whole);
    ASSERT_TRUE(path.empty() || isAbsolute(whole));
    if (isVerbatim(whole)) continue;
    ASSERT_EQ(whole.find(u'/'), UString::npos);
    for (auto const name : components(whole)) {
      ASSERT_NE(name, u"..");
      ASSERT_TRUE(name.back() != u'.' && name.back() != u' ');
    }
  }
}

}  // namespace machine::path_grammar
