#include <gtest/gtest.h>

#include "machine/error.hpp"

namespace machine {

TEST(SystemError, TextNamesOperationSubjectReasonAndCode) {
  SystemError const error("open for reading", u"C:\\x\\list.phl", ErrorCode::accessDenied);
  EXPECT_STREQ(error.what(), "open for reading C:\\x\\list.phl: Access is denied. (5)");
  EXPECT_EQ(error.code(), 5u);
  EXPECT_TRUE(error.is(ErrorCode::accessDenied));
}

TEST(SystemError, TextIsUtf8) {
  SystemError const error("open", u"\u00E4\U0001F600", 1234, "Reason.");
  EXPECT_STREQ(error.what(), "open \u00E4\U0001F600: Reason. (1234)");
}

TEST(SystemError, WithoutASubjectNoBlankIsLeft) {
  EXPECT_STREQ(SystemError("find the folder", u"", ErrorCode::notSupported).what(),
               "find the folder: The request is not supported. (50)");
}

TEST(SystemError, AMissingFileOrFolderIsMissing) {
  EXPECT_TRUE(SystemError("open", u"x", ErrorCode::fileNotFound).isMissing());
  EXPECT_TRUE(SystemError("open", u"x", ErrorCode::pathNotFound).isMissing());
  EXPECT_FALSE(SystemError("open", u"x", ErrorCode::accessDenied).isMissing());
}

TEST(SystemError, IsARuntimeError) {
  EXPECT_THROW(throw SystemError("open", u"x", ErrorCode::diskFull), std::runtime_error);
}

}  // namespace machine
