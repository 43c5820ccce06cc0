#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// A program made byte by byte, for those who read its version resource.
namespace machine::simulated {

/// A file of bytes, written at any offset.
class Bytes {
 public:
  explicit Bytes(std::size_t size) : bytes_(size, '\0') {}
  Bytes& u16(std::size_t at, std::uint32_t value) { return number(at, value, 2); }
  Bytes& u32(std::size_t at, std::uint32_t value) { return number(at, value, 4); }
  std::string& text() { return bytes_; }

 private:
  Bytes& number(std::size_t at, std::uint32_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i, value >>= 8)
      bytes_.at(at + i) = static_cast<char>(value & 0xFF);
    return *this;
  }
  std::string bytes_;
};

inline constexpr std::size_t pe = 0x40;
inline constexpr std::size_t optional = pe + 24;
inline constexpr std::size_t resources = 0x200;
inline constexpr std::uint32_t address = 0x3000;
inline constexpr std::uint32_t subdirectory = 0x80000000;

/// The smallest program with the version 25.1.0.7 (`magic` 0x20B: 64-bit, 0x10B: 32-bit).
inline std::string program(std::uint32_t magic = 0x20B) {
  std::size_t const directories = optional + (magic == 0x20B ? 112 : 96);
  std::size_t const optionalSize = directories + 16 * 8 - optional;
  std::size_t const section = optional + optionalSize;
  Bytes file(0x400);
  file.u16(0, 0x5A4D).u32(0x3C, pe).u32(pe, 0x4550);
  file.u16(pe + 6, 1).u16(pe + 20, static_cast<std::uint32_t>(optionalSize));
  file.u16(optional, magic).u32(directories - 4, 16).u32(directories + 16, address);
  file.u32(section + 8, 0x200).u32(section + 12, address);
  file.u32(section + 16, 0x200).u32(section + 20, resources);
  // Two types, so that the right one must be found; then a name, then a language.
  file.u16(resources + 14, 2).u32(resources + 16, 3).u32(resources + 20, 0x70);
  file.u32(resources + 24, 16).u32(resources + 28, subdirectory | 0x30);
  file.u16(resources + 0x30 + 14, 1).u32(resources + 0x30 + 20, subdirectory | 0x50);
  file.u16(resources + 0x50 + 14, 1).u32(resources + 0x50 + 20, 0x70);
  file.u32(resources + 0x70, address + 0x80).u32(resources + 0x74, 92);
  std::size_t const version = resources + 0x80;
  std::u16string_view const key = u"VS_VERSION_INFO";
  file.u16(version, 92).u16(version + 2, 52);
  for (std::size_t i = 0; i < key.size(); ++i) file.u16(version + 6 + 2 * i, key[i]);
  file.u32(version + 40, 0xFEEF04BD);
  file.u16(version + 48, 1).u16(version + 50, 25).u16(version + 52, 7).u16(version + 54, 0);
  return file.text();
}

}  // namespace machine::simulated
