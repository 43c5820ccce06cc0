#include <gtest/gtest.h>

#include "machine/unicode.hpp"
#include "vortanconnector/installationsregistry/registry_name.hpp"

namespace vortanconnector::installationsregistry {
namespace {

TEST(RegistryName, IsAPlainFileName) {
  for (auto const* const name : {u"a", u"test-25.1", u"a b", u"\u00e4\u65e5\U0001F600", u"a..b",
                                 u"console", u"com", u"com10", u"nulls"}) {
    EXPECT_TRUE(isRegistryName(name)) << machine::toUtf8(name);
  }
  EXPECT_TRUE(isRegistryName(machine::UString(100, u'x')));
}

TEST(RegistryName, LeadsToNoOtherFolderOrDevice) {
  for (auto const* const name :
       {u"",   u".",     u"..",      u"a\\b",   u"a/b",  u"..\\a",     u"C:a",   u"a:stream", u"a*",
        u"a?", u"\"a\"", u"<a>",     u"a|b",    u"a\nb", u"a\x7f",     u" a",    u"a ",       u".a",
        u"a.", u"CON",   u"nul.txt", u"aux .x", u"com1", u"LPT\u00b9", u"conin$"}) {
    EXPECT_FALSE(isRegistryName(name)) << machine::toUtf8(name);
  }
  EXPECT_FALSE(isRegistryName(machine::UString(101, u'x')));
  EXPECT_FALSE(isRegistryName(machine::UString(u"a\0b", 3)));
  EXPECT_FALSE(isRegistryName(machine::UString(1, char16_t{0xD800})));
}

}  // namespace
}  // namespace vortanconnector::installationsregistry
