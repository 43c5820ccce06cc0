#include <gtest/gtest.h>

#include <array>

#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

TEST(Printable, EscapesWhatATerminalWouldObey) {
  EXPECT_EQ(printable("a\nb\rc\td\x1b[31m\x7f"), "a\\nb\\rc\\td\\u001B[31m\\u007F");
}

TEST(Printable, EscapesControlsBeyondAscii) {
  EXPECT_EQ(printable("\xC2\x9B|\xE2\x80\xA8"), "\\u009B|\\u2028");
}

TEST(Printable, KeepsOtherTextAndReplacesIllFormedUtf8) {
  EXPECT_EQ(printable("Größe \xF0\x9F\x98\x80 \xFF"), "Größe \xF0\x9F\x98\x80 \xEF\xBF\xBD");
}

TEST(Shortened, CutsAtTheLimit) {
  EXPECT_EQ(shortened("abcd", 4), "abcd");
  EXPECT_EQ(shortened("abcde", 4), "abcd...");
}

TEST(Shortened, KeepsSurrogatePairsWhole) {
  EXPECT_EQ(shortened("abc\xF0\x9F\x98\x80z", 4), "abc...");
}

TEST(Nearest, FindsMisspelledNames) {
  std::array<std::string_view, 3> const known = {"SetRegistryKeys", "RegisterDlls", "rootPath"};
  EXPECT_EQ(nearest("SetRegistryKey", known), "SetRegistryKeys");
  EXPECT_EQ(nearest("setregistrykeys", known), "SetRegistryKeys");
  EXPECT_EQ(nearest("RegisterDlsl", known), "RegisterDlls");
  EXPECT_EQ(nearest("root", known), "");
}

TEST(Nearest, FindsNothingFarAway) {
  std::array<std::string_view, 2> const known = {"root", "value"};
  EXPECT_EQ(nearest("somethingElse", known), "");
  EXPECT_EQ(nearest("", known), "");
  EXPECT_EQ(nearest(std::string(5000, 'r'), known), "");
}

TEST(Counted, TellsOneFromMany) {
  EXPECT_EQ(counted(0, "command"), "0 commands");
  EXPECT_EQ(counted(1, "command"), "1 command");
  EXPECT_EQ(counted(2, "command"), "2 commands");
}

}  // namespace
}  // namespace regplan
