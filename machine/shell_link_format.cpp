#include "machine/shell_link_format.hpp"

#include <algorithm>
#include <cstdint>
#include <string>

#include "machine/error.hpp"
#include "machine/little_endian.hpp"

namespace machine {
namespace {

using namespace std::string_view_literals;

/// A part of the link: some of its bytes, of which none but these are read.
class Part {
 public:
  Part(std::string_view name, std::string_view bytes, std::size_t place, std::u16string_view path)
      : name_(name), bytes_(bytes), place_(place), path_(path) {}

  std::size_t size() const { return bytes_.size(); }

  void require(bool condition, std::string_view reason) const {
    if (condition) {
      return;
    }
    std::string text("The shortcut's ");
    text.append(name_).append(" at byte ").append(std::to_string(place_)).append(" ");
    throw SystemError("read the shortcut", path_,
                      static_cast<std::uint32_t>(ErrorCode::invalidData),
                      text.append(reason).append("."));
  }

  std::string_view bytes(std::size_t offset, std::size_t size) const {
    require(offset <= bytes_.size() && size <= bytes_.size() - offset, "is not whole");
    return bytes_.substr(offset, size);
  }

  std::uint16_t u16(std::size_t offset) const {
    return static_cast<std::uint16_t>(littleEndian(bytes(offset, 2)));
  }
  std::uint32_t u32(std::size_t offset) const {
    return static_cast<std::uint32_t>(littleEndian(bytes(offset, 4)));
  }

  Part part(std::string_view name, std::size_t offset, std::size_t size) const {
    Part const rest(name, bytes_.substr(std::min(offset, bytes_.size())), place_ + offset, path_);
    return {name, rest.bytes(0, size), place_ + offset, path_};
  }

  /// A part that begins with its own size, 32 bits, of `least` or more.
  Part sizedPart(std::string_view name, std::size_t offset, std::size_t least) const {
    Part const begin = part(name, offset, 4);
    begin.require(begin.u32(0) >= least, "is too short for what it has to hold");
    return part(name, offset, begin.u32(0));
  }

  /// The text at the offset that stands at `field`, if one does, ends inside.
  void requireText(std::size_t field, std::string_view end) const {
    std::size_t const offset = u32(field);
    if (offset == 0) {
      return;
    }
    std::size_t at = offset;
    while (bytes(at, end.size()) != end) {
      at += end.size();
    }
  }

 private:
  std::string_view name_;
  std::string_view bytes_;
  std::size_t place_;
  std::u16string_view path_;
};

constexpr auto narrowEnd = "\0"sv;
constexpr auto wideEnd = "\0\0"sv;

/// Section 2.1.1, LinkFlags.
enum Flag : std::uint32_t {
  hasItemList = 1 << 0,
  hasLinkInformation = 1 << 1,
  hasName = 1 << 2,
  hasRelativePath = 1 << 3,
  hasWorkingFolder = 1 << 4,
  hasArguments = 1 << 5,
  hasIconLocation = 1 << 6,
  isUnicode = 1 << 7,
};

std::uint32_t flagsOf(Part const& link) {
  constexpr auto identifier = "\x01\x14\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46"sv;
  Part const header = link.part("header", 0, shell_link::headerSize);
  header.require(header.u32(0) == shell_link::headerSize && header.bytes(4, 16) == identifier,
                 "is that of another kind of file");
  return header.u32(shell_link::flagsOffset);
}

/// Section 2.2. Gives where the next part begins, as each of these.
std::size_t requireItemList(Part const& link, std::size_t offset) {
  constexpr std::string_view name = "item list";
  std::size_t const size = link.part(name, offset, 2).u16(0);
  Part const list = link.part(name, offset + 2, size);
  std::size_t at = 0;
  while (std::size_t const item = list.u16(at)) {
    list.require(item >= 2, "has an item without a size");
    list.bytes(at, item);
    at += item;
  }
  return offset + 2 + size;
}

void requireVolume(Part const& information, std::size_t offset) {
  constexpr std::size_t labelField = 12;
  constexpr std::size_t wideLabelField = 16;
  Part const volume = information.sizedPart("volume identifier", offset, 17);
  // The value that says: the label is in Unicode, and the next field tells where.
  if (volume.u32(labelField) == 20) {
    volume.requireText(wideLabelField, wideEnd);
  } else {
    volume.requireText(labelField, narrowEnd);
  }
}

void requireNetworkName(Part const& information, std::size_t offset) {
  constexpr std::size_t nameField = 8;
  constexpr std::size_t deviceField = 12;
  constexpr std::size_t leastWideName = 21;
  Part const network = information.sizedPart("network name", offset, 20);
  network.requireText(nameField, narrowEnd);
  network.requireText(deviceField, narrowEnd);
  if (network.u32(nameField) >= leastWideName) {
    network.requireText(20, wideEnd);
    network.requireText(24, wideEnd);
  }
}

/// Section 2.3.
std::size_t requireLinkInformation(Part const& link, std::size_t offset) {
  constexpr std::size_t leastHeader = 28;
  constexpr std::size_t headerWithWideTexts = 36;
  Part const information = link.sizedPart("link information", offset, leastHeader);
  std::size_t const header = information.u32(4);
  information.require(header >= leastHeader && header <= information.size(),
                      "has a header that is not its own");
  if (auto const volume = information.u32(12)) {
    requireVolume(information, volume);
  }
  information.requireText(16, narrowEnd);
  if (auto const network = information.u32(20)) {
    requireNetworkName(information, network);
  }
  information.requireText(24, narrowEnd);
  if (header >= headerWithWideTexts) {
    information.requireText(28, wideEnd);
    information.requireText(32, wideEnd);
  }
  return offset + information.size();
}

/// Section 2.4.
std::size_t requireText(Part const& link, std::size_t offset, bool wide) {
  constexpr std::string_view name = "text";
  std::size_t const size = link.part(name, offset, 2).u16(0) * (wide ? 2U : 1U);
  return offset + 2 + link.part(name, offset + 2, size).size();
}

/// Section 2.5.
void requireExtraData(Part const& link, std::size_t offset) {
  constexpr std::string_view name = "extra data";
  constexpr std::size_t leastBlock = 8;
  while (offset < link.size() && link.part(name, offset, 4).u32(0) >= 4) {
    offset += link.sizedPart(name, offset, leastBlock).size();
  }
}

}  // namespace

void requireWholeShellLink(std::string_view bytes, std::u16string_view path) {
  Part const link("content", bytes, 0, path);
  std::uint32_t const flags = flagsOf(link);
  std::size_t offset = shell_link::headerSize;
  if ((flags & hasItemList) != 0) {
    offset = requireItemList(link, offset);
  }
  if ((flags & hasLinkInformation) != 0) {
    offset = requireLinkInformation(link, offset);
  }
  for (auto const text :
       {hasName, hasRelativePath, hasWorkingFolder, hasArguments, hasIconLocation}) {
    if ((flags & text) != 0) {
      offset = requireText(link, offset, (flags & isUnicode) != 0);
    }
  }
  requireExtraData(link, offset);
}

}  // namespace machine
