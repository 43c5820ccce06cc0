#include <gtest/gtest.h>

#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "tests/support/iri_printing.hpp"

namespace foundation::storage::vfs {
namespace {

ErrorCode refusal(UString const& text) {
  return tests::errorCodeOf([&] { AbsoluteIRI{text}; });
}

TEST(AbsoluteIRI, KeepsItsTextAsGiven) {
  for (auto const* text : {u"file:///C:/a%20b", u"FILE://Server/share/gr\u00f6\u00dfe", u"a+b-c.1:",
                           u"mem:x?y=\uE000", u"file:///C:/\U0001F600"}) {
    EXPECT_EQ(AbsoluteIRI(text).text(), text);
  }
}

TEST(AbsoluteIRI, TellsItsScheme) {
  EXPECT_EQ(AbsoluteIRI(u"File:///C:/a:b").scheme(), u"File");
}

TEST(AbsoluteIRI, TextWithoutASchemeIsRefused) {
  for (auto const* text : {u"", u"a/b", u":a", u"1a:b", u"a b:c", u"\u00e4:b"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation);
  }
}

TEST(AbsoluteIRI, CharactersThatIRIsDoNotHoldAreRefused) {
  for (auto const* text : {u"file:///C:/a b", u"file:///C:\\a", u"file:///C:/a\"", u"f:<", u"f:>",
                           u"f:^", u"f:`", u"f:{", u"f:|", u"f:}", u"f:\u0001", u"f:\u0085",
                           u"f:\uE000", u"f:\uFFFE", u"f:\U000E0001"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
  EXPECT_EQ(refusal(UString(u"f:\0", 3)), ErrorCode::invalidLocation);
}

TEST(AbsoluteIRI, AFragmentIsRefused) {
  EXPECT_EQ(refusal(u"file:///C:/a#b"), ErrorCode::invalidLocation);
}

TEST(AbsoluteIRI, APercentSignWithoutTwoHexadecimalDigitsIsRefused) {
  for (auto const* text : {u"f:%", u"f:%4", u"f:%4g", u"f:%%41", u"f:100%"}) {
    EXPECT_EQ(refusal(text), ErrorCode::invalidLocation) << fl::i18n::ustring_to_utf8(text);
  }
}

TEST(AbsoluteIRI, AnUnpairedSurrogateIsRefused) {
  EXPECT_EQ(refusal(UString(u"f:") + char16_t{0xD800}), ErrorCode::invalidLocation);
  EXPECT_EQ(refusal(UString(u"f:") + char16_t{0xDC00} + char16_t{0xD800}),
            ErrorCode::invalidLocation);
}

TEST(AbsoluteIRI, TheRefusedTextIsTheLocation) {
  try {
    AbsoluteIRI(u"a b");
    ADD_FAILURE();
  } catch (Exception const& failure) {
    EXPECT_EQ(failure.getLocation(), u"a b");
  }
}

}  // namespace
}  // namespace foundation::storage::vfs
