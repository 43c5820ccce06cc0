#pragma once

#include <string>
#include <string_view>

namespace machine {

/// Two lower-case digits a byte.
inline std::string hexadecimal(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (char const byte : bytes) {
    auto const value = static_cast<unsigned char>(byte);
    text += digits[value >> 4];
    text += digits[value & 0xF];
  }
  return text;
}

}  // namespace machine
