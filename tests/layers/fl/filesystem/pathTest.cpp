#include <gtest/gtest.h>

#include "fl/filesystem/path.hpp"

namespace fl::filesystem {
namespace {

TEST(BasicPath, KeepsItsTextAsGiven) {
  EXPECT_EQ(Path(u"c:/a\\\\b/. ").ustring(), u"c:/a\\\\b/. ");
  EXPECT_TRUE(Path().empty());
  EXPECT_FALSE(Path(u" ").empty());
}

TEST(BasicPath, ComparesUnitByUnit) {
  EXPECT_NE(Path(u"C:\\a"), Path(u"c:\\a"));
  EXPECT_NE(Path(u"C:\\a"), Path(u"C:/a"));
  EXPECT_LT(Path(u"C:\\B"), Path(u"C:\\a"));
  EXPECT_EQ(Path(u"C:\\a"), Path(UString(u"C:\\a")));
}

TEST(BasicPath, AppendsWithExactlyOneBackslash) {
  EXPECT_EQ(Path(u"C:\\a") / u"b", Path(u"C:\\a\\b"));
  EXPECT_EQ(Path(u"C:\\a\\") / u"b", Path(u"C:\\a\\b"));
  EXPECT_EQ(Path(u"C:\\a\\") / u"\\b", Path(u"C:\\a\\b"));
  EXPECT_EQ(Path(u"C:\\") / u"b", Path(u"C:\\b"));
  Path path(u"\\\\srv\\share");
  path /= u"a";
  path /= u"b.c";
  EXPECT_EQ(path, Path(u"\\\\srv\\share\\a\\b.c"));
}

TEST(BasicPath, AppendingNothingAddsNothing) {
  EXPECT_EQ(Path(u"C:\\a") / u"", Path(u"C:\\a"));
  EXPECT_EQ(Path(u"") / u"b", Path(u"b"));
  EXPECT_EQ(Path() / Path(), Path());
}

TEST(BasicPath, FilenameIsTheLastComponent) {
  EXPECT_EQ(Path(u"C:\\a\\b.c").filename(), Path(u"b.c"));
  EXPECT_EQ(Path(u"C:\\a/b.c").filename(), Path(u"b.c"));
  EXPECT_EQ(Path(u"b.c").filename(), Path(u"b.c"));
  EXPECT_EQ(Path(u"C:\\a\\").filename(), Path());
  EXPECT_EQ(Path(u"C:\\").filename(), Path());
  EXPECT_EQ(Path(u"\\\\srv\\share").filename(), Path());
}

TEST(BasicPath, ParentPathEndsAtTheRoot) {
  EXPECT_EQ(Path(u"C:\\a\\b").parent_path(), Path(u"C:\\a"));
  EXPECT_EQ(Path(u"C:\\a").parent_path(), Path(u"C:\\"));
  EXPECT_EQ(Path(u"C:\\").parent_path(), Path(u"C:\\"));
  EXPECT_EQ(Path(u"\\\\srv\\share\\a").parent_path(), Path(u"\\\\srv\\share\\"));
  EXPECT_EQ(Path(u"\\\\?\\C:\\a").parent_path(), Path(u"\\\\?\\C:\\"));
  EXPECT_EQ(Path(u"a").parent_path(), Path());
}

TEST(BasicPath, MakeNativeTurnsEverySlash) {
  EXPECT_EQ(Path(u"C:/a\\b/c").make_native(), Path(u"C:\\a\\b\\c"));
  EXPECT_EQ(Path(u"\\\\?\\C:\\a/b").make_native(), Path(u"\\\\?\\C:\\a/b"));
}

TEST(ExtractStem, IsTheNameWithoutItsExtension) {
  EXPECT_EQ(extract_stem(u"C:\\x\\app.exe"), u"app");
  EXPECT_EQ(extract_stem(u"C:\\x.y\\app"), u"app");
  EXPECT_EQ(extract_stem(u"a.b.c"), u"a.b");
  EXPECT_EQ(extract_stem(u".profile"), u".profile");
  EXPECT_EQ(extract_stem(u"C:\\x\\"), u"");
  EXPECT_EQ(extract_stem(u""), u"");
}

TEST(ExtractStem, IgnoresTrailingDotsAndBlanks) {
  EXPECT_EQ(extract_stem(u"app.exe. "), u"app");
  EXPECT_EQ(extract_stem(u"app. ."), u"app");
  EXPECT_EQ(extract_stem(u"My Tool .exe"), u"My Tool ");
}

TEST(ExtractStem, LeavesDotNamesWhole) {
  EXPECT_EQ(extract_stem(u"C:\\x\\."), u".");
  EXPECT_EQ(extract_stem(u".."), u"..");
}

TEST(ExtractExtension, IsWhatFollowsTheLastDot) {
  EXPECT_EQ(extract_extension(u"a.phl"), u"phl");
  EXPECT_EQ(extract_extension(u"C:\\x\\a.PHL"), u"PHL");
  EXPECT_EQ(extract_extension(u"a.b.c"), u"c");
  EXPECT_EQ(extract_extension(u"a.phl. ."), u"phl");
}

TEST(ExtractExtension, IsEmptyWithoutOne) {
  EXPECT_EQ(extract_extension(u"a"), u"");
  EXPECT_EQ(extract_extension(u"a."), u"");
  EXPECT_EQ(extract_extension(u".phl"), u"");
  EXPECT_EQ(extract_extension(u"."), u"");
  EXPECT_EQ(extract_extension(u".."), u"");
  EXPECT_EQ(extract_extension(u"C:\\x.phl\\a"), u"");
  EXPECT_EQ(extract_extension(u"C:\\x.phl\\"), u"");
}

TEST(ExtractExtension, TakesVerbatimNamesLiterally) {
  EXPECT_EQ(extract_extension(u"\\\\?\\C:\\a.phl "), u"phl ");
  EXPECT_EQ(extract_extension(u"\\\\?\\C:\\a.phl."), u"");
  EXPECT_EQ(extract_stem(u"\\\\?\\C:\\a.phl."), u"a.phl");
  EXPECT_EQ(extract_stem(u"\\\\?\\C:\\a.b/c.d"), u"a.b/c");
}

TEST(ExtractFirstElement, FollowsTheRoot) {
  EXPECT_EQ(extract_first_element(u"C:\\a\\b"), Path(u"a"));
  EXPECT_EQ(extract_first_element(u"a\\b"), Path(u"a"));
  EXPECT_EQ(extract_first_element(u"\\\\srv\\share\\a\\b"), Path(u"a"));
  EXPECT_EQ(extract_first_element(u"C:\\"), Path());
}

TEST(RootLength, CountsWhatNamesWhereThePathStarts) {
  EXPECT_EQ(root_length(u"C:\\a"), 3u);
  EXPECT_EQ(root_length(u"C:a"), 2u);
  EXPECT_EQ(root_length(u"\\a"), 1u);
  EXPECT_EQ(root_length(u"a\\b"), 0u);
  EXPECT_EQ(root_length(u"\\\\srv\\share\\a"), 12u);
  EXPECT_EQ(root_length(u"\\\\?\\C:\\a"), 7u);
  EXPECT_EQ(root_length(u""), 0u);
}

}  // namespace
}  // namespace fl::filesystem
