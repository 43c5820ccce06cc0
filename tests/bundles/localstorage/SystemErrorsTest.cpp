#include <gtest/gtest.h>

#include "bundles/localstorage/system_errors.hpp"
#include "tests/support/iri_printing.hpp"

namespace localstorage {
namespace {

namespace vfs = foundation::storage::vfs;

vfs::ErrorCode meaning(std::uint32_t code) {
  return errorCodeFor(machine::SystemError("open", u"C:\\a", code, "reason"));
}

TEST(SystemErrors, EachHasItsMeaning) {
  EXPECT_EQ(meaning(123), vfs::ErrorCode::invalidLocation);
  EXPECT_EQ(meaning(5), vfs::ErrorCode::permissionDenied);
  EXPECT_EQ(meaning(183), vfs::ErrorCode::resourceAlreadyExists);
  EXPECT_EQ(meaning(2), vfs::ErrorCode::resourceNotFound);
  EXPECT_EQ(meaning(19), vfs::ErrorCode::readOnlyProvider);
  EXPECT_EQ(meaning(223), vfs::ErrorCode::fileTooLarge);
  EXPECT_EQ(meaning(32), vfs::ErrorCode::resourceInUse);
  EXPECT_EQ(meaning(112), vfs::ErrorCode::noSpaceLeft);
  EXPECT_EQ(meaning(1117), vfs::ErrorCode::ioError);
  EXPECT_EQ(meaning(50), vfs::ErrorCode::operationNotSupported);
  EXPECT_EQ(meaning(1223), vfs::ErrorCode::operationCancelled);
}

TEST(SystemErrors, AnUnknownOneIsAnUnknownError) {
  EXPECT_EQ(meaning(0), vfs::ErrorCode::unknownError);
  EXPECT_EQ(meaning(99999), vfs::ErrorCode::unknownError);
}

}  // namespace
}  // namespace localstorage
