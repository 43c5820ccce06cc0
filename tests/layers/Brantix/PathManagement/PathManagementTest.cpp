#include <gtest/gtest.h>

#include "Brantix/PathManagement/PathManagement.hpp"
#include "tests/support/iri_printing.hpp"
#include "tests/support/local_storage.hpp"
#include "tests/support/machine_fixture.hpp"

namespace Brantix::PathManagement {
namespace {

using fl::i18n::UString;
using foundation::storage::vfs::ErrorCode;
using IRIs = std::vector<AbsoluteIRI>;

class GetIRIFromString : public tests::MachineTest {
 protected:
  static UString textFor(UString const& folder) {
    return PathManagement::GetIRIFromString(folder).text();
  }
};

TEST_F(GetIRIFromString, TakesWindowsPaths) {
  EXPECT_EQ(textFor(u"C:\\a b"), u"file:///C:/a%20b");
  EXPECT_EQ(textFor(u"c:/a/"), u"file:///C:/a");
  EXPECT_EQ(textFor(u"\\\\srv\\share\\a"), u"file://srv/share/a");
}

TEST_F(GetIRIFromString, TakesIRIs) {
  EXPECT_EQ(textFor(u"FILE:///c:/a%20b/"), u"file:///C:/a%20b");
}

TEST_F(GetIRIFromString, TakesARelativeFolderFromTheCurrentOne) {
  auto const before = files().currentDirectory();
  ASSERT_TRUE(files().setCurrentDirectory(root()));
  EXPECT_EQ(windowsPath(PathManagement::GetIRIFromString(u"a\\..\\b")), at(u"b"));
  files().setCurrentDirectory(before);
}

TEST_F(GetIRIFromString, RefusesWhatIsNoFolder) {
  for (auto const* text : {u"", u"C:\\a*", u"file:a", u"file:///C:/a b", u"\\\\.\\pipe\\a"}) {
    EXPECT_EQ(tests::errorCodeOf([&] { textFor(text); }), ErrorCode::invalidLocation)
        << fl::i18n::ustring_to_utf8(text);
  }
}

TEST(RemoveDuplicateIris, KeepsTheFirstOfEach) {
  IRIs iris{AbsoluteIRI(u"file:///C:/b"), AbsoluteIRI(u"file:///C:/a"),
            AbsoluteIRI(u"file:///C:/b"), AbsoluteIRI(u"file:///C:/c"),
            AbsoluteIRI(u"file:///C:/a")};
  EXPECT_EQ(RemoveDuplicateIris(iris),
            (IRIs{AbsoluteIRI(u"file:///C:/b"), AbsoluteIRI(u"file:///C:/a"),
                  AbsoluteIRI(u"file:///C:/c")}));
}

TEST(RemoveDuplicateIris, SpellingsOfOneFolderAreOne) {
  IRIs iris{AbsoluteIRI(u"FILE:///c:/Gr%C3%B6%c3%9fe/x/.."),
            AbsoluteIRI(u"file:///C:/gr\u00d6\u00dfe"),
            AbsoluteIRI(u"file://localhost/C:/GR\u00f6\u00dfE/")};
  EXPECT_EQ(RemoveDuplicateIris(iris), IRIs{AbsoluteIRI(u"FILE:///c:/Gr%C3%B6%c3%9fe/x/..")});
}

TEST(RemoveDuplicateIris, FoldersThatDifferAreKept) {
  IRIs const different{AbsoluteIRI(u"file:///C:/a"),       AbsoluteIRI(u"file:///D:/a"),
                       AbsoluteIRI(u"file:///C:/a/a"),     AbsoluteIRI(u"file://c/a/a"),
                       AbsoluteIRI(u"file:///C:/e\u0301"), AbsoluteIRI(u"file:///C:/\u00e9")};
  auto iris = different;
  EXPECT_EQ(RemoveDuplicateIris(iris), different);
}

TEST(RemoveDuplicateIris, WhatHasNoCanonicalFormCountsAsWritten) {
  IRIs iris{AbsoluteIRI(u"mem:a"), AbsoluteIRI(u"MEM:a"), AbsoluteIRI(u"mem:a")};
  EXPECT_EQ(RemoveDuplicateIris(iris), (IRIs{AbsoluteIRI(u"mem:a"), AbsoluteIRI(u"MEM:a")}));
}

TEST(RemoveDuplicateIris, AnEmptyListStaysEmpty) {
  IRIs none;
  EXPECT_TRUE(RemoveDuplicateIris(none).empty());
}

TEST(CreatePathdefGenerator, NeedsTheStorageSystem) {
  EXPECT_EQ(tests::errorCodeOf(
                [] { CreatePathdefGenerator(CanonicalAbsoluteIRI::ofWindowsPath(u"C:\\a")); }),
            ErrorCode::resourceNotFound);
  tests::OfferedStorage const storage;
  EXPECT_NE(CreatePathdefGenerator(CanonicalAbsoluteIRI::ofWindowsPath(u"C:\\a")), nullptr);
}

}  // namespace
}  // namespace Brantix::PathManagement
