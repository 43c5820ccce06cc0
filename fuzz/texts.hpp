#pragma once

#include <utf8.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "machine/unicode.hpp"

/// What texts made of other people's bytes must be.
namespace fuzz {

/// The bytes as UTF-16 units, unpaired surrogates and all, which no conversion from UTF-8 gives.
inline machine::UString unitsOf(std::string_view bytes) {
  machine::UString units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                   static_cast<unsigned char>(bytes[i + 1]) << 8);
  }
  return units;
}

/// What comes before the first line feed, which is taken away with it.
inline std::string_view takeLine(std::string_view& rest) {
  auto const end = rest.find('\n');
  auto const line = rest.substr(0, end);
  rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
  return line;
}

inline bool isWellFormed(std::string_view text) {
  return utf8::is_valid(text.begin(), text.end());
}

inline bool isWellFormed(std::u16string_view utf16) {
  return machine::toUtf16(machine::toUtf8(utf16)) == utf16;
}

/// Nothing in it that a terminal would obey.
inline bool isPrintable(std::string_view utf8) {
  return isWellFormed(utf8) && std::none_of(utf8.begin(), utf8.end(), [](char unit) {
           auto const byte = static_cast<unsigned char>(unit);
           return byte < 0x20 || byte == 0x7F;
         });
}

}  // namespace fuzz
