#include <gtest/gtest.h>

#include "machine/printable.hpp"

namespace machine {
namespace {

TEST(Printable, EscapesWhatATerminalObeys) {
  EXPECT_EQ(printable("a\nb\r\t\x1B[2J\x7F"), "a\\nb\\r\\t\\u001B[2J\\u007F");
  EXPECT_EQ(printable("\xE2\x80\xA8\xC2\x85"), "\\u2028\\u0085");
}

TEST(Printable, EscapesWhatTurnsTheWritingDirection) {
  EXPECT_EQ(printable("a\xE2\x80\xAEgpj.exe\xE2\x81\xA6"), "a\\u202Egpj.exe\\u2066");
}

TEST(Printable, KeepsOtherTextAndReplacesIllFormedUtf8) {
  EXPECT_EQ(printable("\xC3\xA4 \xF0\x9F\x98\x80"), "\xC3\xA4 \xF0\x9F\x98\x80");
  EXPECT_EQ(printable("a\xFF"), "a\xEF\xBF\xBD");
}

TEST(Shortened, CutsAfterTheLimitAndNeverWithinACharacter) {
  EXPECT_EQ(shortened("abc", 3), "abc");
  EXPECT_EQ(shortened("abcd", 3), "abc...");
  EXPECT_EQ(shortened("a\xF0\x9F\x98\x80"
                      "b",
                      2),
            "a...");
}

}  // namespace
}  // namespace machine
