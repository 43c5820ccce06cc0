#include <cstring>
#include <memory>

#include "fuzz/fuzz.hpp"
#include "machine/error.hpp"
#include "machine/shell_link_format.hpp"

namespace {

/// A shell that believes every size and offset in a link. It reads from memory that ends with the
/// link, so that the sanitizer sees what a whole link does not hold.
class TrustingShell {
 public:
  explicit TrustingShell(std::string_view link)
      : size_(link.size()), bytes_(std::make_unique<char[]>(link.size())) {
    std::memcpy(bytes_.get(), link.data(), link.size());
  }

  void read() {
    char const* at = bytes_.get() + machine::shell_link::headerSize;
    auto const flags = number<std::uint32_t>(bytes_.get() + machine::shell_link::flagsOffset);
    if ((flags & 1) != 0) at = readItems(at);
    if ((flags & 2) != 0) at = readInformation(at);
    for (std::uint32_t text = 4; text <= 64; text *= 2) {
      if ((flags & text) != 0) at = readCounted(at, (flags & 128) != 0);
    }
    while (at + 4 <= bytes_.get() + size_ && number<std::uint32_t>(at) >= 4) at = readBlock(at);
  }

 private:
  template <class Number>
  static Number number(char const* at) {
    Number value;
    std::memcpy(&value, at, sizeof value);
    return value;
  }
  void touch(char const* at, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) sum_ = sum_ + static_cast<unsigned char>(at[i]);
  }

  char const* readItems(char const* at) {
    auto const size = number<std::uint16_t>(at);
    char const* item = at + 2;
    while (auto const length = number<std::uint16_t>(item)) {
      touch(item, length);
      item += length;
    }
    return at + 2 + size;
  }

  void readText(char const* part, std::size_t field) {
    auto const offset = number<std::uint32_t>(part + field);
    if (offset != 0) sum_ = sum_ + std::strlen(part + offset);
  }
  void readWideText(char const* part, std::size_t field) {
    auto const offset = number<std::uint32_t>(part + field);
    if (offset == 0) return;
    for (char const* unit = part + offset; number<char16_t>(unit) != 0; unit += 2) sum_ = sum_ + 1;
  }

  char const* readInformation(char const* at) {
    auto const headerSize = number<std::uint32_t>(at + 4);
    if (auto const volume = number<std::uint32_t>(at + 12)) {
      if (number<std::uint32_t>(at + volume + 12) == 20) {
        readWideText(at + volume, 16);
      } else {
        readText(at + volume, 12);
      }
    }
    readText(at, 16);
    if (auto const network = number<std::uint32_t>(at + 20)) {
      readText(at + network, 8);
      readText(at + network, 12);
      if (number<std::uint32_t>(at + network + 8) > 20) {
        readWideText(at + network, 20);
        readWideText(at + network, 24);
      }
    }
    readText(at, 24);
    if (headerSize >= 36) {
      readWideText(at, 28);
      readWideText(at, 32);
    }
    return readBlock(at);
  }

  char const* readCounted(char const* at, bool isWide) {
    std::size_t const size = number<std::uint16_t>(at) * (isWide ? 2U : 1U);
    touch(at + 2, size);
    return at + 2 + size;
  }

  char const* readBlock(char const* at) {
    auto const size = number<std::uint32_t>(at);
    touch(at, size);
    return at + size;
  }

  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
  std::size_t volatile sum_ = 0;
};

}  // namespace

void fuzz::run(std::string_view input) {
  try {
    machine::requireWholeShellLink(input, u"C:\\hostile.lnk");
  } catch (machine::SystemError const& refusal) {
    FUZZ_EXPECT(refusal.is(machine::ErrorCode::invalidData));
    FUZZ_EXPECT(*refusal.what() != '\0');
    return;
  }
  TrustingShell(input).read();
}
