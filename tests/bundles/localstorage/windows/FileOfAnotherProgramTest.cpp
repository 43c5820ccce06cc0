#include <windows.h>

#include <gtest/gtest.h>

#include "bundles/localstorage/local_storage.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "tests/support/iri_printing.hpp"
#include "tests/support/machine_fixture.hpp"
#include "tests/support/wine.hpp"

namespace localstorage {
namespace {

namespace vfs = foundation::storage::vfs;

class FileOfAnotherProgram : public tests::MachineTest {};

TEST_F(FileOfAnotherProgram, ThatIsReadOnlyIsReadAndNotReplaced) {
  if (tests::isWine()) GTEST_SKIP() << "Wine run by root writes to read-only files";
  writeFile(at(u"file"), "old");
  auto const path = machine::toWide(at(u"file"));
  ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
  auto const file = vfs::CanonicalAbsoluteIRI::ofWindowsPath(at(u"file"));
  EXPECT_EQ(LocalStorage().read(file, 3), "old");
  EXPECT_EQ(tests::errorCodeOf([&] { LocalStorage().replace(file, "new"); }),
            vfs::ErrorCode::permissionDenied);
  EXPECT_EQ(readFile(at(u"file")), "old");
  EXPECT_FALSE(exists(at(u"file.tmp")));
}

TEST_F(FileOfAnotherProgram, ThatKeepsItToItselfIsInUse) {
  writeFile(at(u"file"), "old");
  auto const path = machine::toWide(at(u"file"));
  HANDLE const open =
      CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(open, INVALID_HANDLE_VALUE);
  auto const file = vfs::CanonicalAbsoluteIRI::ofWindowsPath(at(u"file"));
  EXPECT_TRUE(LocalStorage().fileExists(file));
  EXPECT_EQ(tests::errorCodeOf([&] { LocalStorage().read(file, 3); }),
            vfs::ErrorCode::resourceInUse);
  CloseHandle(open);
}

}  // namespace
}  // namespace localstorage
