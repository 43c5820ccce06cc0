#include "tools/regplan/report/html.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "machine/sha256.hpp"
#include "tools/regplan/text.hpp"

namespace regplan::html {
namespace {

bool isHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

struct CodePoints {
  char32_t first;
  char32_t last;
};

/// Controls, surrogates, and what has no glyph of its own (general category Cf, fillers, line and
/// paragraph separator) as of Unicode 15.
constexpr std::array<CodePoints, 27> oddOnes = {{
    {0x00, 0x08},       {0x0A, 0x1F},       {0x7F, 0x9F},       {0xAD, 0xAD},
    {0x0600, 0x0605},   {0x061C, 0x061C},   {0x06DD, 0x06DD},   {0x070F, 0x070F},
    {0x115F, 0x1160},   {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},
    {0x2028, 0x202E},   {0x2060, 0x206F},   {0x3164, 0x3164},   {0xD800, 0xDFFF},
    {0xFDD0, 0xFDEF},   {0xFE00, 0xFE0E},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
    {0xFFF0, 0xFFFB},   {0xFFFE, 0xFFFF},   {0x110BD, 0x110BD}, {0x13430, 0x1343F},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
}};

bool isOdd(char32_t point) {
  return std::ranges::any_of(oddOnes, [point](CodePoints const& range) {
    return range.first <= point && point <= range.last;
  });
}

std::string codePointName(char32_t point) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string name;
  for (auto rest = static_cast<std::uint32_t>(point); rest != 0 || name.size() < 4; rest >>= 4) {
    name.insert(name.begin(), digits[rest & 0xF]);
  }
  return "U+" + name;
}

std::string_view entity(char32_t point) {
  switch (point) {
    case U'&':
      return "&amp;";
    case U'<':
      return "&lt;";
    case U'>':
      return "&gt;";
    case U'"':
      return "&quot;";
    case U'\'':
      return "&#39;";
    default:
      return {};
  }
}

std::string asMark(std::string const& text) {
  return "<span class=\"odd\">" + text + "</span>";
}

std::string asBareMark(std::string const& text) {
  return "[" + text + "]";
}

using Marking = std::string (*)(std::string const& text);

std::string shown(char32_t point, std::u16string_view units, Marking mark) {
  std::string_view const escape = entity(point);
  if (!escape.empty()) return std::string(escape);
  return isOdd(point) ? mark(codePointName(point)) : machine::toUtf8(units);
}

std::string sha256(std::string_view content) {
  machine::Sha256 hash;
  hash.add(content);
  return hash.finish();
}

unsigned hexadecimalDigit(char digit) {
  return static_cast<unsigned>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

/// RFC 4648, of bytes given in hexadecimal: three digits are two letters.
std::string base64(std::string_view hexadecimal) {
  constexpr std::string_view letters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  for (std::size_t i = 0; i < hexadecimal.size(); i += 3) {
    unsigned bits = 0;
    for (std::size_t digit = i; digit < i + 3; ++digit) {
      bits = bits << 4 | (digit < hexadecimal.size() ? hexadecimalDigit(hexadecimal[digit]) : 0);
    }
    result += letters[bits >> 6];
    if (i + 1 < hexadecimal.size()) result += letters[bits & 0x3F];
  }
  while (result.size() % 4 != 0) result += '=';
  return result;
}

std::string shownText(std::u16string_view text, std::size_t limit, Marking mark) {
  std::size_t const end = std::min(text.size(), limit);
  std::string result;
  std::size_t i = 0;
  while (i < end) {
    bool const isPair =
        isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1]);
    char32_t const point = isPair ? 0x10000 + ((static_cast<char32_t>(text[i]) & 0x3FF) << 10) +
                                        (static_cast<char32_t>(text[i + 1]) & 0x3FF)
                                  : text[i];
    std::size_t const length = isPair ? 2 : 1;
    result += shown(point, text.substr(i, length), mark);
    i += length;
  }
  if (i == text.size()) return result;
  return result + mark(counted(text.size() - i, "more character") + " not shown");
}

constexpr std::size_t longestBareText = 200;

}  // namespace

std::string text(std::u16string_view text, std::size_t limit) {
  return shownText(text, limit, asMark);
}

std::string text(std::string_view utf8, std::size_t limit) {
  return text(machine::toUtf16(utf8), limit);
}

std::string bareText(std::string_view utf8) {
  return shownText(machine::toUtf16(utf8), longestBareText, asBareMark);
}

std::string element(std::string_view name, std::string_view attributes, std::string_view inner) {
  std::string result = "<";
  result.append(name).append(attributes).append(">").append(inner);
  return result.append("</").append(name).append(">");
}

std::string filled(std::string_view pattern,
                   std::initializer_list<std::pair<std::string_view, std::string_view>> values) {
  std::string result;
  for (;;) {
    std::size_t const begin = pattern.find("{{");
    result += pattern.substr(0, begin);
    if (begin == std::string_view::npos) return result;
    std::size_t const end = pattern.find("}}", begin);
    std::string_view const name = pattern.substr(begin + 2, end - begin - 2);
    auto const found =
        std::ranges::find(values, name, &std::pair<std::string_view, std::string_view>::first);
    if (end == std::string_view::npos || found == values.end()) {
      throw std::logic_error("the page's template asks for " + std::string(name));
    }
    result += found->second;
    pattern.remove_prefix(end + 2);
  }
}

std::string policyHash(std::string_view content) {
  return "'sha256-" + base64(sha256(content)) + "'";
}

}  // namespace regplan::html
