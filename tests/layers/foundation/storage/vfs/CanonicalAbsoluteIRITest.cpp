#include <gtest/gtest.h>

#include <iterator>
#include <random>

#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "tests/support/iri_printing.hpp"

namespace foundation::storage::vfs {
namespace {

UString canonical(UString const& text, UString const& relative = u"") {
  return CanonicalAbsoluteIRI(AbsoluteIRI(text), relative).text();
}

UString ofPath(UString const& path) {
  return CanonicalAbsoluteIRI::ofWindowsPath(path).text();
}

ErrorCode refusal(UString const& text) {
  return tests::errorCodeOf([&] { canonical(text); });
}

ErrorCode refusalOfPath(UString const& path) {
  return tests::errorCodeOf([&] { ofPath(path); });
}

TEST(CanonicalAbsoluteIRI, NamesAFolderOnADrive) {
  EXPECT_EQ(ofPath(u"C:\\Program Files\\Vortan"), u"file:///C:/Program%20Files/Vortan");
  EXPECT_EQ(windowsPath(AbsoluteIRI(u"file:///C:/Program%20Files/Vortan")),
            u"C:\\Program Files\\Vortan");
}

TEST(CanonicalAbsoluteIRI, NamesAFolderOnAShare) {
  EXPECT_EQ(ofPath(u"\\\\Server\\Share\\a"), u"file://server/Share/a");
  EXPECT_EQ(windowsPath(AbsoluteIRI(u"file://Server/Share/a")), u"\\\\server\\Share\\a");
}

TEST(CanonicalAbsoluteIRI, NamesRoots) {
  EXPECT_EQ(ofPath(u"c:\\"), u"file:///C:/");
  EXPECT_EQ(canonical(u"file:///c:"), u"file:///C:/");
  EXPECT_EQ(windowsPath(AbsoluteIRI(u"file:///C:")), u"C:\\");
  EXPECT_EQ(canonical(u"file://srv/share/"), u"file://srv/share");
  EXPECT_EQ(windowsPath(AbsoluteIRI(u"file://srv/share")), u"\\\\srv\\share");
}

TEST(CanonicalAbsoluteIRI, AllSpellingsOfAFolderAreOne) {
  for (auto const* spelling :
       {u"file:///C:/a/b", u"FILE:///c:/a/b", u"file:/C:/a/b", u"file://localhost/C:/a/b",
        u"file://LOCALHOST/C:/a/b", u"file:///C:/a/b/", u"file:///C://a///b", u"file:///C:/a/./b",
        u"file:///C:/a/x/../b", u"file:///C:/../a/b", u"file:///C:/%61/b", u"file:///C%3A/a/b",
        u"file:///C:/a/%2E/b", u"file:///C:/a/x/%2e%2E/b", u"file:///C:/a./b%20"}) {
    EXPECT_EQ(canonical(spelling), u"file:///C:/a/b") << fl::i18n::ustring_to_utf8(spelling);
  }
  for (auto const* path : {u"C:\\a\\b", u"c:/a/b/", u"C:\\a\\.\\x\\..\\b", u"\\\\?\\C:\\a\\b",
                           u"\\\\?\\c:\\a\\b\\", u"C:\\a. .\\b "}) {
    EXPECT_EQ(ofPath(path), u"file:///C:/a/b") << fl::i18n::ustring_to_utf8(path);
  }
  EXPECT_EQ(ofPath(u"\\\\?\\UNC\\srv\\share\\a"), u"file://srv/share/a");
}

TEST(CanonicalAbsoluteIRI, ParentFoldersEndAtTheShare) {
  EXPECT_EQ(canonical(u"file://srv/share/../../a"), u"file://srv/share/a");
}

TEST(CanonicalAbsoluteIRI, LettersBeyondAsciiStandForThemselves) {
  EXPECT_EQ(ofPath(u"C:\\gr\u00f6\u00dfe\\\u65e5\u672c\\\U0001F600"),
            u"file:///C:/gr\u00f6\u00dfe/\u65e5\u672c/\U0001F600");
  EXPECT_EQ(canonical(u"file:///C:/gr%C3%B6%c3%9Fe/%F0%9F%98%80"),
            u"file:///C:/gr\u00f6\u00dfe/\U0001F600");
}

TEST(CanonicalAbsoluteIRI, CaseOfNamesIsKept) {
  EXPECT_EQ(ofPath(u"C:\\ProgRAM"), u"file:///C:/ProgRAM");
}

TEST(CanonicalAbsoluteIRI, WhatMayNotStandForItselfIsPercentEncodedInCapitals) {
  EXPECT_EQ(ofPath(u"C:\\100% [a] {b}^`#"), u"file:///C:/100%25%20%5Ba%5D%20%7Bb%7D%5E%60%23");
  EXPECT_EQ(ofPath(u"C:\\\u0085\uE000\u202E"), u"file:///C:/%C2%85%EE%80%80%E2%80%AE");
  EXPECT_EQ(ofPath(u"C:\\!$&'()+,;=@-._~"), u"file:///C:/!$&'()+,;=@-._~");
}

TEST(CanonicalAbsoluteIRI, EveryLegalNameComesBack) {
  for (auto const* path :
       {u"C:\\100%", u"C:\\%41", u"C:\\%25 %2F", u"C:\\it's", u"C:\\a#b;c=d&e", u"C:\\ leading",
        u"C:\\...a", u"C:\\$root", u"C:\\[x]{y}", u"C:\\\u00a0\u3000", u"C:\\e\u0301\u00e9",
        u"C:\\\uFFFD\uFEFF\u200F", u"C:\\\U0010FFFD", u"\\\\srv@ssl\\share$\\\u00e4",
        u"\\\\s\u00e4rver\\share name\\x"}) {
    auto const iri = CanonicalAbsoluteIRI::ofWindowsPath(path);
    EXPECT_EQ(windowsPath(iri), path) << fl::i18n::ustring_to_utf8(path);
    EXPECT_EQ(windowsPath(AbsoluteIRI(iri.text())), path) << fl::i18n::ustring_to_utf8(path);
  }
}

TEST(CanonicalAbsoluteIRI, IsItsOwnCanonicalForm) {
  for (auto const* path : {u"C:\\", u"C:\\100% \u00e4\u202e#", u"\\\\srv@SSL\\share\\a"}) {
    auto const iri = CanonicalAbsoluteIRI::ofWindowsPath(path);
    EXPECT_EQ(CanonicalAbsoluteIRI(iri), iri);
    EXPECT_EQ(CanonicalAbsoluteIRI(AbsoluteIRI(iri.text())), iri);
  }
}

TEST(CanonicalAbsoluteIRI, OfWhateverIsItsOwnCanonicalForm) {
  constexpr std::u16string_view pieces[] = {
      u"/",      u"//",  u"..",  u".", u"%2E", u"%2f", u"C:",     u"c:",   u"a", u"%C3%A4",
      u"\u00e4", u"%20", u"srv", u"@", u"%41", u"%FF", u"\u202e", u"/C:/", u"/x"};
  std::mt19937 random(3987);  // NOLINT(cert-msc51-cpp): the same texts every time
  int named = 0;
  for (int round = 0; round < 20'000; ++round) {
    UString text = round % 2 == 0 ? u"file:///C:/" : u"file://";
    for (auto count = random() % 8; count > 0; --count) {
      text += pieces[random() % std::size(pieces)];
    }
    try {
      UString const once = canonical(text);
      ++named;
      ASSERT_EQ(canonical(once), once) << fl::i18n::ustring_to_utf8(text);
      ASSERT_EQ(ofPath(windowsPath(AbsoluteIRI(text))), once) << fl::i18n::ustring_to_utf8(text);
    } catch (Exception const& failure) {
      ASSERT_EQ(failure.getErrorCode(), ErrorCode::invalidLocation);
    }
  }
  EXPECT_GT(named, 1000);
}

TEST(CanonicalAbsoluteIRI, AShareOnLocalhostComesBack) {
  for (auto const* path : {u"\\\\localhost\\share\\a", u"\\\\LocalHost\\share\\a"}) {
    EXPECT_EQ(ofPath(path), u"file://%6Cocalhost/share/a") << fl::i18n::ustring_to_utf8(path);
  }
  EXPECT_EQ(canonical(u"file://%6Cocalhost/share/a"), u"file://%6Cocalhost/share/a");
  EXPECT_EQ(windowsPath(AbsoluteIRI(u"file://%6Cocalhost/share/a")), u"\\\\localhost\\share\\a");
  EXPECT_EQ(ofPath(u"\\\\localhost1\\share"), u"file://localhost1/share");
}

TEST(CanonicalAbsoluteIRI, ARelativePartContinuesIt) {
  EXPECT_EQ(canonical(u"file:///C:/a", u""), u"file:///C:/a");
  EXPECT_EQ(canonical(u"file:///C:/a", u"b/c%20d"), u"file:///C:/a/b/c%20d");
  EXPECT_EQ(canonical(u"file:///C:/", u"b"), u"file:///C:/b");
  EXPECT_EQ(tests::errorCodeOf([] { canonical(u"file:///C:/a", u"b c"); }),
            ErrorCode::invalidLocation);
}

TEST(CanonicalAbsoluteIRI, OtherSchemesAreRefused) {
  EXPECT_EQ(refusal(u"http://srv/share/a"), ErrorCode::invalidLocation);
  EXPECT_EQ(refusal(u"files:///C:/a"), ErrorCode::invalidLocation);
}

TEST(CanonicalAbsoluteIRI, WhatIsNeitherOnADriveNorOnAShareIsRefused) {
  for (auto const* text :
       {u"file:", u"file:a", u"file:///", u"file:///a/b", u"file:///CC:/a", u"file:///1:/a",
        u"file:///C:a", u"file://srv", u"file://srv/", u"file:////srv/share/a", u"file://./pipe/a",
        u"file://../share/a", u"file://srv/../a", u"file://localhost/a"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
  for (auto const* path :
       {u"", u"a", u"\\a", u"C:a", u"\\\\srv", u"\\\\.\\pipe\\a", u"\\\\?\\pipe\\a", u"//?/C:/a",
        u"\\\\?\\Volume{12345678-1234-1234-1234-123456789abc}\\a"}) {
    EXPECT_EQ(refusalOfPath(path), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(path);
  }
}

TEST(CanonicalAbsoluteIRI, UsersPortsAndQueriesAreRefused) {
  for (auto const* text : {u"file://user@srv/share", u"file://srv:80/share", u"file://[::1]/share",
                           u"file:///C:/a?b"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
}

TEST(CanonicalAbsoluteIRI, PercentEncodedSeparatorsAreRefused) {
  for (auto const* text : {u"file:///C:/a%2Fb", u"file:///C:/a%5Cb", u"file:///C:/a/..%5C..%5Cb",
                           u"file://srv%5Cx/s/a", u"file:///%5C%5Csrv/share"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
}

TEST(CanonicalAbsoluteIRI, NamesThatWindowsDoesNotAllowAreRefused) {
  for (auto const* text :
       {u"file:///C:/a%00b", u"file:///C:/%1F", u"file:///C:/a:b", u"file:///C:/a*",
        u"file:///C:/a%3F", u"file:///C:/%22", u"file:///C:/%7C", u"file:///C:/%3C%3E"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
  EXPECT_EQ(refusalOfPath(UString(u"C:\\a") + char16_t{0xD800}), ErrorCode::invalidLocation);
}

TEST(CanonicalAbsoluteIRI, PercentEncodedBytesThatAreNotUtf8AreRefused) {
  for (auto const* text :
       {u"file:///C:/%FF", u"file:///C:/%C3", u"file:///C:/%C0%AF", u"file:///C:/%ED%A0%80"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
}

TEST(CanonicalAbsoluteIRI, NamesThatOnlyAVerbatimPathCanHoldAreRefused) {
  for (auto const* path : {u"\\\\?\\C:\\a.", u"\\\\?\\C:\\a ", u"\\\\?\\C:\\a.\\b",
                           u"\\\\?\\C:\\..", u"\\\\?\\C:\\a/b", u"\\\\?\\UNC\\srv\\share\\a."}) {
    EXPECT_EQ(refusalOfPath(path), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(path);
  }
}

TEST(CanonicalAbsoluteIRI, TheRefusedTextIsTheLocation) {
  try {
    CanonicalAbsoluteIRI::ofWindowsPath(u"C:\\a*");
    ADD_FAILURE();
  } catch (Exception const& failure) {
    EXPECT_EQ(failure.getLocation(), u"C:\\a*");
  }
}

}  // namespace
}  // namespace foundation::storage::vfs
