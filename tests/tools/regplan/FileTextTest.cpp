#include <gtest/gtest.h>

#include "tools/regplan/report/file_text.hpp"

namespace regplan {
namespace {

using namespace std::string_literals;
using Lines = std::vector<machine::UString>;

TEST(FileTextOf, ReadsUtf8WithEitherLineEnd) {
  auto const text = fileText("a\n\xC3\xA4\n");
  ASSERT_TRUE(text);
  EXPECT_EQ(*text, (FileText{"UTF-8", "LF", Lines{u"a", u"\u00E4"}, true}));
  EXPECT_EQ(fileText("a\r\nb"), (FileText{"UTF-8", "CRLF", Lines{u"a", u"b"}, false}));
  EXPECT_EQ(fileText("a"), (FileText{"UTF-8", "", Lines{u"a"}, false}));
}

TEST(FileTextOf, AnEmptyFileIsATextWithoutLines) {
  EXPECT_EQ(fileText(""), (FileText{"UTF-8", "", Lines{}, true}));
}

TEST(FileTextOf, MixedLineEndsKeepTheirReturns) {
  EXPECT_EQ(fileText("a\r\nb\n"), (FileText{"UTF-8", "mixed", Lines{u"a\r", u"b"}, true}));
}

TEST(FileTextOf, GoesByTheByteOrderMark) {
  EXPECT_EQ(fileText("\xEF\xBB\xBF"
                     "a"),
            (FileText{"UTF-8 with BOM", "", Lines{u"a"}, false}));
  EXPECT_EQ(fileText("\xFF\xFE"
                     "a\0\n\0"s),
            (FileText{"UTF-16 LE", "LF", Lines{u"a"}, true}));
  EXPECT_EQ(fileText("\xFE\xFF\0a\0\n"s), (FileText{"UTF-16 BE", "LF", Lines{u"a"}, true}));
}

TEST(FileTextOf, RecognizesLittleEndianTextWithoutAMark) {
  EXPECT_EQ(fileText("a\0b\0"s), (FileText{"UTF-16 LE without BOM", "", Lines{u"ab"}, false}));
}

TEST(FileTextOf, OtherBytesAreNoText) {
  EXPECT_FALSE(fileText("\0\0\0\0"s));
  EXPECT_FALSE(fileText("MZ\x90\0"s));
  EXPECT_FALSE(fileText("a\x1B[2J"));
  EXPECT_FALSE(fileText("a\xFF"));
  EXPECT_FALSE(fileText("a\0b"s));
}

}  // namespace
}  // namespace regplan
