#include "manifest.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace cppmicroservices {

namespace {

constexpr std::string_view sectionName = ".bundle";
constexpr std::uint64_t largestManifest = 1 << 20;
constexpr int deepestNesting = 64;

/// The bytes of a file by offset, little-endian. What lies beyond its end reads as nothing.
class File {
 public:
  explicit File(std::filesystem::path const& path) : stream_(path, std::ios::binary) {
    stream_.seekg(0, std::ios::end);
    auto const end = stream_.tellg();
    size_ = stream_ ? static_cast<std::uint64_t>(end) : 0;
  }

  bool holds(std::uint64_t offset, std::uint64_t count) const {
    return offset <= size_ && count <= size_ - offset;
  }
  /// Empty when the file does not hold all of it.
  std::string bytes(std::uint64_t offset, std::uint64_t count) {
    if (!holds(offset, count)) {
      return {};
    }
    std::string bytes(static_cast<std::size_t>(count), '\0');
    stream_.seekg(static_cast<std::streamoff>(offset));
    stream_.read(bytes.data(), static_cast<std::streamsize>(count));
    return stream_ ? bytes : std::string();
  }

 private:
  std::ifstream stream_;
  std::uint64_t size_ = 0;
};

/// REQUIRES: offset + width lies within the bytes.
std::uint64_t number(std::string_view bytes, std::size_t offset, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = width; i > 0; --i) {
    value = value << 8 | static_cast<unsigned char>(bytes[offset + i - 1]);
  }
  return value;
}

std::string_view untilNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

struct Section {
  std::uint64_t offset;
  std::uint64_t size;
};

/// Microsoft, "PE Format": the offset of the signature at 0x3C; after the signature the COFF header
/// (20 bytes), the optional header, and the section headers (40 bytes each).
std::optional<Section> findInPe(File& file) {
  auto const dosHeader = file.bytes(0, 64);
  if (!dosHeader.starts_with("MZ")) {
    return {};
  }
  auto const signature = number(dosHeader, 60, 4);
  auto const header = file.bytes(signature, 24);
  if (!header.starts_with(std::string_view("PE\0\0", 4))) {
    return {};
  }
  constexpr std::size_t headerSize = 40;
  auto const count = number(header, 6, 2);
  auto const table = file.bytes(signature + 24 + number(header, 20, 2), count * headerSize);
  for (std::size_t at = 0; at < table.size(); at += headerSize) {
    auto const entry = std::string_view(table).substr(at, headerSize);
    if (untilNul(entry.substr(0, 8)) == sectionName) {
      return Section{number(entry, 20, 4), std::min(number(entry, 8, 4), number(entry, 16, 4))};
    }
  }
  return {};
}

/// System V ABI, "Object Files": section headers of 64 bytes, their names in a section of texts.
std::optional<Section> findInElf(File& file) {
  auto const header = file.bytes(0, 64);
  constexpr std::string_view elf64LittleEndian(
      "\x7f"
      "ELF\x02\x01",
      6);
  constexpr std::uint64_t entrySize = 64;
  if (!header.starts_with(elf64LittleEndian) || number(header, 58, 2) != entrySize) {
    return {};
  }
  auto const table = file.bytes(number(header, 40, 8), number(header, 60, 2) * entrySize);
  auto const namesAt = number(header, 62, 2) * entrySize;
  if (namesAt >= table.size()) {
    return {};
  }
  auto const sectionAt = [&](std::size_t at) {
    return Section{number(table, at + 24, 8), number(table, at + 32, 8)};
  };
  auto const names = sectionAt(namesAt);
  for (std::size_t at = 0; at < table.size(); at += entrySize) {
    auto const nameAt = number(table, at, 4);
    constexpr auto length = sectionName.size() + 1;
    if (nameAt <= names.size && length <= names.size - nameAt &&
        untilNul(file.bytes(names.offset + nameAt, length)) == sectionName) {
      return sectionAt(at);
    }
  }
  return {};
}

std::filesystem::path pathOf(std::string const& utf8) {
  return std::u8string(utf8.begin(), utf8.end());
}

/// Told before parsing: the parser's own callback, asked at every value, takes a time that grows
/// with the square of a list's length.
bool isNestedTooDeeply(std::string_view json) {
  int depth = 0;
  bool isInText = false;
  for (std::size_t i = 0; i < json.size() && depth <= deepestNesting; ++i) {
    char const c = json[i];
    if (isInText && c == '\\') {
      ++i;
    } else if (c == '"') {
      isInText = !isInText;
    } else if (!isInText && (c == '[' || c == '{')) {
      ++depth;
    } else if (!isInText && (c == ']' || c == '}')) {
      --depth;
    }
  }
  return depth > deepestNesting;
}

/// Empty for null and for a whole number that is no int; headers and lists leave those out.
Any toAny(nlohmann::json const& value);

AnyMap toAnyMap(nlohmann::json const& object) {
  AnyMap map;
  for (auto const& [name, value] : object.items()) {
    if (auto any = toAny(value); !any.Empty()) {
      map.insert_or_assign(name, std::move(any));
    }
  }
  return map;
}

std::vector<Any> toList(nlohmann::json const& array) {
  std::vector<Any> list;
  for (auto const& element : array) {
    if (auto any = toAny(element); !any.Empty()) {
      list.push_back(std::move(any));
    }
  }
  return list;
}

/// A "%" before a text stands for a translation, which there is none of.
std::string toText(nlohmann::json const& value) {
  auto text = value.get<std::string>();
  return text.starts_with('%') ? text.substr(1) : text;
}

Any toAny(nlohmann::json const& value) {
  if (value.is_string()) {
    return toText(value);
  }
  if (value.is_boolean()) {
    return value.get<bool>();
  }
  if (value.is_number_unsigned() && std::in_range<int>(value.get<std::uint64_t>())) {
    return value.get<int>();
  }
  if (value.is_number_integer() && !value.is_number_unsigned() &&
      std::in_range<int>(value.get<std::int64_t>())) {
    return value.get<int>();
  }
  if (value.is_number_float()) {
    return value.get<double>();
  }
  if (value.is_object()) {
    return toAnyMap(value);
  }
  if (value.is_array()) {
    return toList(value);
  }
  return {};
}

}  // namespace

std::optional<std::string> embeddedManifest(std::string const& location) {
  auto const path = pathOf(location);
  std::error_code unused;
  if (!std::filesystem::exists(path, unused)) {
    throw std::runtime_error(location + " does not exist");
  }
  File file(path);
  auto section = findInPe(file);
  if (!section) {
    section = findInElf(file);
  }
  if (!section || section->size > largestManifest || !file.holds(section->offset, section->size)) {
    return {};
  }
  auto const text = file.bytes(section->offset, section->size);
  // A linker may fill a section up.
  return std::string(untilNul(text));
}

AnyMap parsedManifest(std::string const& text) {
  if (isNestedTooDeeply(text)) {
    throw std::runtime_error("nested too deeply");
  }
  auto const document = nlohmann::json::parse(text);
  if (!document.is_object()) {
    throw std::runtime_error("The Json root element must be an object.");
  }
  return toAnyMap(document);
}

}  // namespace cppmicroservices
