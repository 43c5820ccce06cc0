#pragma once

#include <cstdint>
#include <string_view>

namespace machine {

/// The number that up to eight bytes hold, the lowest first.
inline std::uint64_t littleEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
    number = number << 8 | static_cast<unsigned char>(*byte);
  }
  return number;
}

}  // namespace machine
