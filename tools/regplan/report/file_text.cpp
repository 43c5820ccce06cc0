#include "tools/regplan/report/file_text.hpp"

#include <algorithm>

namespace regplan {
namespace {

using machine::UString;

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleEndianMark = "\xFF\xFE";
constexpr std::string_view bigEndianMark = "\xFE\xFF";

UString utf16Units(std::string_view bytes, bool littleEndian) {
  UString units;
  units.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    auto const first = static_cast<unsigned char>(bytes[i]);
    auto const second = static_cast<unsigned char>(bytes[i + 1]);
    units += static_cast<char16_t>(littleEndian ? first | second << 8 : first << 8 | second);
  }
  return units;
}

/// Texts of Latin letters: no byte 0 in the one half, at least three of four in the other.
bool looksLittleEndian(std::string_view bytes) {
  if (bytes.size() < 4 || bytes.size() % 2 != 0) return false;
  std::size_t zeros = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    if (bytes[i] == '\0') return false;
    if (bytes[i + 1] == '\0') ++zeros;
  }
  return zeros * 4 >= bytes.size() / 2 * 3;
}

bool isText(UString const& units) {
  return std::ranges::none_of(units, [](char16_t unit) {
    return unit < 0x20 && unit != u'\n' && unit != u'\r' && unit != u'\t' && unit != u'\f';
  });
}

std::string lineEndsOf(UString const& units) {
  std::size_t feeds = 0;
  std::size_t pairs = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (units[i] != u'\n') continue;
    ++feeds;
    if (i > 0 && units[i - 1] == u'\r') ++pairs;
  }
  if (feeds == 0) return {};
  if (pairs == 0) return "LF";
  return pairs == feeds ? "CRLF" : "mixed";
}

std::vector<UString> linesOf(std::u16string_view units, bool withoutReturns) {
  std::vector<UString> lines;
  while (!units.empty()) {
    std::size_t const end = std::min(units.find(u'\n'), units.size());
    std::u16string_view line = units.substr(0, end);
    bool const hasEnd = end < units.size();
    if (hasEnd && withoutReturns) line.remove_suffix(1);
    lines.emplace_back(line);
    units.remove_prefix(hasEnd ? end + 1 : end);
  }
  return lines;
}

std::optional<FileText> textOf(UString const& units, std::string encoding) {
  if (!isText(units)) return std::nullopt;
  std::string const lineEnds = lineEndsOf(units);
  return FileText{std::move(encoding), lineEnds, linesOf(units, lineEnds == "CRLF"),
                  units.empty() || units.back() == u'\n'};
}

std::optional<FileText> utf8Text(std::string_view bytes, std::string encoding) {
  UString const units = machine::toUtf16(bytes);
  if (machine::toUtf8(units) != bytes) return std::nullopt;
  return textOf(units, std::move(encoding));
}

}  // namespace

std::optional<FileText> fileText(std::string_view bytes) {
  if (bytes.starts_with(utf8Mark)) return utf8Text(bytes.substr(3), "UTF-8 with BOM");
  bool const isEven = bytes.size() % 2 == 0;
  if (isEven && bytes.starts_with(littleEndianMark)) {
    return textOf(utf16Units(bytes.substr(2), true), "UTF-16 LE");
  }
  if (isEven && bytes.starts_with(bigEndianMark)) {
    return textOf(utf16Units(bytes.substr(2), false), "UTF-16 BE");
  }
  if (looksLittleEndian(bytes)) return textOf(utf16Units(bytes, true), "UTF-16 LE without BOM");
  return utf8Text(bytes, "UTF-8");
}

}  // namespace regplan
