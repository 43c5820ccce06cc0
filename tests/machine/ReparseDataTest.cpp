#include <gtest/gtest.h>

#include "machine/reparse_data.hpp"

namespace {

using machine::junctionData;
using machine::Link;
using machine::linkIn;
using machine::UString;

void put(std::string& data, std::size_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) data += static_cast<char>(value >> 8 * i & 0xFF);
}

/// As the system writes it: the shown name first, then the one it follows.
std::string symbolicLink(std::u16string_view shown, std::u16string_view followed, bool relative) {
  std::string data;
  put(data, 0xA000000C, 4);
  put(data, 12 + 2 * (shown.size() + followed.size()), 2);
  put(data, 0, 2);
  put(data, 2 * shown.size(), 2);
  put(data, 2 * followed.size(), 2);
  put(data, 0, 2);
  put(data, 2 * shown.size(), 2);
  put(data, relative ? 1 : 0, 4);
  for (char16_t const unit : UString(shown) + UString(followed)) put(data, unit, 2);
  return data;
}

TEST(ReparseData, OfASymbolicLinkTellItsTarget) {
  EXPECT_EQ(linkIn(symbolicLink(u"C:\\a", u"\\??\\C:\\a", false)), (Link{u"C:\\a", false, false}));
  EXPECT_EQ(linkIn(symbolicLink(u"..\\a", u"..\\a", true)), (Link{u"..\\a", false, false}));
  EXPECT_EQ(linkIn(symbolicLink(u"\\\\srv\\share\\a", u"\\??\\UNC\\srv\\share\\a", false)),
            (Link{u"\\\\srv\\share\\a", false, false}));
}

TEST(ReparseData, OfAJunctionAreReadAsTheyAreMade) {
  for (auto const* target :
       {u"C:\\a\\\u00e4", u"\\\\?\\Volume{01234567-89ab-cdef-0123-456789abcdef}\\"}) {
    EXPECT_EQ(linkIn(junctionData(target)), (Link{target, false, true}));
  }
}

TEST(ReparseData, OfAJunctionAreTheBytesThatTheSystemTakes) {
  // Tag, length 32, offsets and lengths of both names, \??\C:\ and C:\, each with a NUL.
  EXPECT_EQ(junctionData(u"C:\\"), std::string("\x03\0\0\xA0\x20\0\0\0"
                                               "\0\0\x0E\0\x10\0\x06\0"
                                               "\\\0?\0?\0\\\0C\0:\0\\\0\0\0"
                                               "C\0:\0\\\0\0\0",
                                               40));
}

TEST(ReparseData, CutAnywhereOrOfAnotherKindAreNone) {
  auto const whole = symbolicLink(u"C:\\a", u"\\??\\C:\\a", false);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(linkIn(std::string_view(whole).substr(0, size)), std::nullopt) << size;
  }
  auto other = whole;
  other[0] = 0x1B;  // an app's alias
  EXPECT_EQ(linkIn(other), std::nullopt);
  auto beyond = whole;
  beyond[8] = beyond[9] = '\xFF';
  EXPECT_EQ(linkIn(beyond), std::nullopt);
}

}  // namespace
