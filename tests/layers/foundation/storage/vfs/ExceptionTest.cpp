#include <gtest/gtest.h>

#include <set>
#include <string>

#include "foundation/storage/vfs/Exception.hpp"

namespace foundation::storage::vfs {
namespace {

TEST(VfsException, CarriesCodeAndLocation) {
  Exception const failure(ErrorCode::noSpaceLeft, u"C:\\gr\u00f6\u00dfe");
  EXPECT_EQ(failure.getErrorCode(), ErrorCode::noSpaceLeft);
  EXPECT_EQ(failure.getLocation(), u"C:\\gr\u00f6\u00dfe");
  EXPECT_STREQ(failure.what(),
               "no space left: C:\\gr\xC3\xB6\xC3\x9F"
               "e");
}

TEST(VfsException, TellsTheReasonInItsTextOnly) {
  Exception const failure(ErrorCode::ioError, u"C:\\a", "bad sector");
  EXPECT_STREQ(failure.what(), "input or output error: C:\\a (bad sector)");
  EXPECT_EQ(failure.getLocation(), u"C:\\a");
}

TEST(VfsException, TheTwelveCodesKeepTheirNumbersAndDifferInText) {
  std::set<std::string> texts;
  for (int number = 1; number <= 12; ++number) {
    texts.insert(Exception(static_cast<ErrorCode>(number), u"x").what());
  }
  EXPECT_EQ(texts.size(), 12u);
  EXPECT_EQ(static_cast<int>(ErrorCode::invalidLocation), 1);
  EXPECT_EQ(static_cast<int>(ErrorCode::permissionDenied), 2);
  EXPECT_EQ(static_cast<int>(ErrorCode::resourceAlreadyExists), 3);
  EXPECT_EQ(static_cast<int>(ErrorCode::resourceNotFound), 4);
  EXPECT_EQ(static_cast<int>(ErrorCode::readOnlyProvider), 5);
  EXPECT_EQ(static_cast<int>(ErrorCode::fileTooLarge), 6);
  EXPECT_EQ(static_cast<int>(ErrorCode::resourceInUse), 7);
  EXPECT_EQ(static_cast<int>(ErrorCode::noSpaceLeft), 8);
  EXPECT_EQ(static_cast<int>(ErrorCode::ioError), 9);
  EXPECT_EQ(static_cast<int>(ErrorCode::operationNotSupported), 10);
  EXPECT_EQ(static_cast<int>(ErrorCode::operationCancelled), 11);
  EXPECT_EQ(static_cast<int>(ErrorCode::unknownError), 12);
}

}  // namespace
}  // namespace foundation::storage::vfs
