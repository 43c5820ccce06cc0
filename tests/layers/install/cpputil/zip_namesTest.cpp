#include <gtest/gtest.h>

#include "install/cpputil/zip_names.hpp"

namespace install::cpputil {
namespace {

TEST(ZipNames, OrdinaryNamesAreTaken) {
  for (char const* name : {"a", "a.txt", "folder/", "folder/sub folder/a.b.c", ".hidden", "a..b",
                           "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80.txt", "console", "com10",
                           "nully.txt", "COM", "~$a", "a'b(1) [2]"}) {
    EXPECT_EQ(problemOfZipName(name), "") << name;
  }
}

TEST(ZipNames, NamesThatLeadOutOfTheFolderAreRefused) {
  for (char const* name :
       {"..", "../a", "a/../b", "a/..", ".", "./a", "a/./b", "/a", "//srv/share/a", "a//b", "", "/",
        "..\\a", "a\\b", "\\a", "\\\\srv\\share\\a", "C:\\a", "C:a", "C:/a"}) {
    EXPECT_NE(problemOfZipName(name), "") << name;
  }
}

TEST(ZipNames, AlternateDataStreamsAreRefused) {
  EXPECT_NE(problemOfZipName("a.txt:stream"), "");
  EXPECT_NE(problemOfZipName("folder:stream/a"), "");
  EXPECT_NE(problemOfZipName("a::$DATA"), "");
}

TEST(ZipNames, DeviceNamesAreRefusedInAnyCaseAndWithAnyExtension) {
  for (char const* name : {"CON", "con", "Nul.txt", "a/aux", "prn.a.b", "COM1", "lpt9.log", "com0",
                           "COM\xC2\xB9", "CONIN$", "conout$", "nul .txt", "aux/a"}) {
    EXPECT_NE(problemOfZipName(name), "") << name;
  }
}

TEST(ZipNames, DotsAndBlanksAtTheEndOfAnyComponentAreRefused) {
  for (char const* name : {"a.", "a ", "a./b", "a /b", "...", ".. /a", "a. /"}) {
    EXPECT_NE(problemOfZipName(name), "") << name;
  }
}

TEST(ZipNames, CharactersThatFileNamesCannotHaveAreRefused) {
  for (char const* name : {"a*", "a?", "a<b", "a>b", "a|b", "a\"b", "a\nb", "a\x7F"}) {
    EXPECT_NE(problemOfZipName(name), "") << name;
  }
  EXPECT_NE(problemOfZipName(std::string_view("a\0b", 3)), "");
}

TEST(ZipNames, IllFormedUtf8IsRefused) {
  EXPECT_NE(problemOfZipName("a\xFF"), "");
  EXPECT_NE(problemOfZipName("\xC0\xAE\xC0\xAE/a"), "") << "overlong dots";
  EXPECT_NE(problemOfZipName("\xED\xA0\x80"), "") << "a surrogate";
}

TEST(ZipNames, LongNamesAreRefused) {
  EXPECT_EQ(problemOfZipName(std::string(255, 'a')), "");
  EXPECT_NE(problemOfZipName(std::string(256, 'a')), "");
  std::string deep;
  for (int i = 0; i < 1000; ++i) deep += "a/";
  EXPECT_EQ(problemOfZipName(deep), "");
  EXPECT_NE(problemOfZipName(deep + "b"), "");
}

}  // namespace
}  // namespace install::cpputil
