#include <gtest/gtest.h>

#include "machine/error.hpp"
#include "machine/machine.hpp"
#include "machine/windows/system_path.hpp"

namespace {

using machine::UString;
using machine::windows::fullPath;
using machine::windows::systemPath;

UString const longName(250, u'n');

TEST(SystemPath, ShortPathsStayAsTheyAre) {
  EXPECT_EQ(systemPath("test", u"C:\\a/b"), u"C:\\a/b");
  EXPECT_EQ(systemPath("test", u"a"), u"a");
  EXPECT_EQ(systemPath("test", u"NUL"), u"NUL");
}

TEST(SystemPath, LongPathsBecomeVerbatim) {
  EXPECT_EQ(systemPath("test", u"C:\\" + longName), u"\\\\?\\C:\\" + longName);
  EXPECT_EQ(systemPath("test", u"C:/a/../" + longName), u"\\\\?\\C:\\" + longName);
  EXPECT_EQ(systemPath("test", u"\\\\srv\\share\\" + longName),
            u"\\\\?\\UNC\\srv\\share\\" + longName);
}

TEST(SystemPath, LongRelativePathsBecomeAbsolute) {
  UString const folder = machine::current().files().currentDirectory();
  EXPECT_EQ(systemPath("test", longName), u"\\\\?\\" + folder + u"\\" + longName);
}

TEST(SystemPath, LongVerbatimAndDevicePathsStayAsTheyAre) {
  EXPECT_EQ(systemPath("test", u"\\\\?\\C:\\a/" + longName), u"\\\\?\\C:\\a/" + longName);
  EXPECT_EQ(systemPath("test", u"\\\\.\\" + longName), u"\\\\.\\" + longName);
}

TEST(SystemPath, ARelativePathCountsWithTheCurrentFolder) {
  auto& files = machine::current().files();
  UString const before = files.currentDirectory();
  UString const folder =
      *machine::current().environment().variable(u"TEMP") + u"\\" +
      UString(200 - machine::current().environment().variable(u"TEMP")->size(), u'f');
  files.createDirectory(folder);
  ASSERT_TRUE(files.setCurrentDirectory(folder));
  EXPECT_EQ(systemPath("test", UString(60, u'n')), u"\\\\?\\" + folder + u"\\" + UString(60, u'n'));
  EXPECT_EQ(systemPath("test", u"short"), u"short");
  files.setCurrentDirectory(before);
  files.removeDirectory(folder);
}

TEST(SystemPath, ANulIsAnInvalidName) {
  for (auto const& path : {UString(u"C:\\a\0b", 6), longName + UString(1, u'\0')}) {
    try {
      systemPath("test", path);
      FAIL();
    } catch (machine::SystemError const& error) {
      EXPECT_TRUE(error.is(machine::ErrorCode::invalidName));
    }
  }
}

TEST(FullPath, FollowsTheSystemsRules) {
  EXPECT_EQ(fullPath("test", u"C:\\a\\.\\b\\..\\c. ."), u"C:\\a\\c");
}

}  // namespace
