#pragma once

#include <cstddef>
#include <string_view>

/// The characters of IRIs. Sets and their names: RFC 3986, section 2, and RFC 3987, section 2.2.
namespace foundation::storage::vfs::iri {

constexpr char32_t unpairedSurrogate = 0xFFFFFFFF;

/// The code point at `at`, which moves behind it. REQUIRES: at < text.size().
constexpr char32_t nextCodePoint(std::u16string_view text, std::size_t& at) {
  char32_t const unit = text[at++];
  if (unit < 0xD800 || unit > 0xDFFF) {
    return unit;
  }
  bool const isPair = unit < 0xDC00 && at < text.size() && text[at] >= 0xDC00 && text[at] <= 0xDFFF;
  return isPair ? 0x10000 + ((unit - 0xD800) << 10) + (text[at++] - 0xDC00U) : unpairedSurrogate;
}

constexpr bool isAlpha(char32_t c) {
  return (c >= U'A' && c <= U'Z') || (c >= U'a' && c <= U'z');
}

constexpr bool isDigit(char32_t c) {
  return c >= U'0' && c <= U'9';
}

/// The value of a hexadecimal digit; -1 for what is none.
constexpr int hexadecimalValue(char32_t c) {
  if (isDigit(c)) {
    return static_cast<int>(c - U'0');
  }
  char32_t const small = c | 0x20;
  return small >= U'a' && small <= U'f' ? static_cast<int>(small - U'a') + 10 : -1;
}

/// Characters beyond ASCII that stand for themselves.
constexpr bool isUcschar(char32_t c) {
  if (c < 0x10000) {
    return (c >= 0xA0 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFEF);
  }
  bool const isNoncharacter = (c & 0xFFFE) == 0xFFFE;
  return c <= 0xEFFFD && !isNoncharacter && !(c >= 0xE0000 && c < 0xE1000);
}

/// For private use; in a query only.
constexpr bool isIprivate(char32_t c) {
  return (c >= 0xE000 && c <= 0xF8FF) || (c >= 0xF0000 && c <= 0xFFFFD) ||
         (c >= 0x100000 && c <= 0x10FFFD);
}

constexpr bool isAsciiOf(std::u32string_view set, char32_t c) {
  return set.find(c) != std::u32string_view::npos;
}

/// What stands for itself in a name of a path (`ipchar` without its percent-encoded ones).
constexpr bool isPathCharacter(char32_t c) {
  return isAlpha(c) || isDigit(c) || isUcschar(c) || isAsciiOf(U"-._~!$&'()*+,;=:@", c);
}

/// Characters that change the direction of writing; RFC 3987, section 4.1, bans them.
constexpr bool changesDirection(char32_t c) {
  return c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E);
}

}  // namespace foundation::storage::vfs::iri
