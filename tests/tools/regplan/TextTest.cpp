#include <gtest/gtest.h>

#include <array>

#include "tools/regplan/text.hpp"

namespace regplan {
namespace {

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

TEST(Wrapped, BreaksBetweenWordsOnly) {
  EXPECT_EQ(wrapped("aaa bbb ccc", 2, 9), "aaa bbb\n  ccc");
  EXPECT_EQ(wrapped("longerthanwide b", 0, 5), "longerthanwide\nb");
  EXPECT_EQ(wrapped("", 3, 10), "");
}

}  // namespace
}  // namespace regplan
