#include "machine/reparse_data.hpp"

#include <cstdint>

#include "machine/little_endian.hpp"
#include "machine/path_grammar.hpp"

namespace machine {

namespace {

constexpr std::uint32_t mountPointTag = 0xA0000003;    // IO_REPARSE_TAG_MOUNT_POINT
constexpr std::uint32_t symbolicLinkTag = 0xA000000C;  // IO_REPARSE_TAG_SYMLINK
constexpr std::size_t headerSize = 8;                  // tag, length of what follows, nothing
constexpr std::size_t lengthsSize = 8;                 // offset and length of two names
constexpr std::size_t flagsSize = 4;                   // of a symbolic link
constexpr std::u16string_view objectPrefix = u"\\??\\";

std::size_t number(std::string_view data, std::size_t at, std::size_t width) {
  return static_cast<std::size_t>(littleEndian(data.substr(at, width)));
}

/// The name's units; nullopt when they do not lie within the data.
std::optional<UString> unitsAt(std::string_view names, std::size_t offset, std::size_t length) {
  if (offset > names.size() || length > names.size() - offset || length % 2 != 0) {
    return std::nullopt;
  }
  UString text;
  for (std::size_t at = offset; at < offset + length; at += 2) {
    text += static_cast<char16_t>(number(names, at, 2));
  }
  return text;
}

/// `\??\C:\a` -> `C:\a`, `\??\UNC\srv\share` -> `\\srv\share`, `\??\Volume{...}\` ->
/// `\\?\Volume{...}\`; what has no such prefix as it is.
UString withoutObjectPrefix(UString const& name) {
  if (!name.starts_with(objectPrefix)) return name;
  UString const rest = name.substr(objectPrefix.size());
  if (equalIgnoringCase(rest.substr(0, 4), u"UNC\\")) return u"\\\\" + rest.substr(4);
  bool const isDrive = rest.size() >= 2 && rest[1] == u':';
  return isDrive ? rest : u"\\\\?\\" + rest;
}

UString withObjectPrefix(std::u16string_view path) {
  UString const objects(objectPrefix);
  if (path_grammar::isVerbatim(path)) return objects + UString(path.substr(4));
  return path.starts_with(u"\\\\") ? objects + u"UNC" + UString(path.substr(1))
                                   : objects + UString(path);
}

void put(std::string& data, std::size_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) data += static_cast<char>(value >> 8 * i & 0xFF);
}

}  // namespace

std::optional<Link> linkIn(std::string_view data) {
  if (data.size() < headerSize + lengthsSize) return std::nullopt;
  auto const tag = number(data, 0, 4);
  bool const isJunction = tag == mountPointTag;
  std::size_t const names = headerSize + lengthsSize + (isJunction ? 0 : flagsSize);
  if ((!isJunction && tag != symbolicLinkTag) || data.size() < names) return std::nullopt;
  auto const target =
      unitsAt(data.substr(names), number(data, headerSize, 2), number(data, headerSize + 2, 2));
  if (!target || target->empty()) return std::nullopt;
  return Link{withoutObjectPrefix(*target), false, isJunction};
}

std::string junctionData(std::u16string_view target) {
  auto const substitute = withObjectPrefix(target);
  std::size_t const substituteSize = substitute.size() * 2;
  std::size_t const shownSize = target.size() * 2;
  std::string data;
  put(data, mountPointTag, 4);
  put(data, lengthsSize + substituteSize + 2 + shownSize + 2, 2);
  put(data, 0, 2);
  put(data, 0, 2);
  put(data, substituteSize, 2);
  put(data, substituteSize + 2, 2);
  put(data, shownSize, 2);
  for (char16_t const unit : substitute + u'\0' + UString(target) + u'\0') put(data, unit, 2);
  return data;
}

}  // namespace machine
