#include <cstddef>

#include "fuzz/fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  fuzz::run(std::string_view(reinterpret_cast<char const*>(data), size));
  return 0;
}
