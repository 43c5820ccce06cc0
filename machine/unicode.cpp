#include "machine/unicode.hpp"

#include <utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace machine {

namespace {

constexpr char16_t replacement = u'\uFFFD';

constexpr bool isHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr char32_t codePoint(char16_t high, char16_t low) {
  return 0x10000u + ((static_cast<char32_t>(high) - 0xD800u) << 10) +
         (static_cast<char32_t>(low) - 0xDC00u);
}

/// Eight units a step: most text is ASCII.
char const* endOfAscii(char const* first, char const* last) {
  constexpr std::uint64_t highBits = 0x8080808080808080u;
  while (last - first >= 8) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, first, sizeof eight);
    if ((eight & highBits) != 0) break;
    first += 8;
  }
  return std::find_if(first, last,
                      [](char byte) { return static_cast<unsigned char>(byte) > 127; });
}

char16_t const* endOfAscii(char16_t const* first, char16_t const* last) {
  constexpr std::uint64_t aboveAscii = 0xFF80FF80FF80FF80u;
  while (last - first >= 4) {
    std::uint64_t four = 0;
    std::memcpy(&four, first, sizeof four);
    if ((four & aboveAscii) != 0) break;
    first += 4;
  }
  return std::find_if(first, last, [](char16_t unit) { return unit > 127; });
}

/// The bytes that may follow a lead byte directly: table 3-7 of the Unicode Standard.
struct SecondByte {
  unsigned char low;
  unsigned char high;
};

constexpr SecondByte secondByte(unsigned char lead) {
  switch (lead) {
    case 0xE0:
      return {0xA0, 0xBF};
    case 0xED:
      return {0x80, 0x9F};
    case 0xF0:
      return {0x90, 0xBF};
    case 0xF4:
      return {0x80, 0x8F};
    default:
      return {0x80, 0xBF};
  }
}

constexpr int sequenceLength(unsigned char lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 1;
}

/// The end of the maximal subpart of the ill-formed sequence at `first`. REQUIRES: first != last
/// and no well-formed sequence begins there.
char const* endOfMaximalSubpart(char const* first, char const* last) {
  auto const lead = static_cast<unsigned char>(*first);
  SecondByte allowed = secondByte(lead);
  char const* at = first + 1;
  for (int left = sequenceLength(lead) - 1; left > 0 && at != last; --left, ++at) {
    auto const byte = static_cast<unsigned char>(*at);
    if (byte < allowed.low || byte > allowed.high) break;
    allowed = {0x80, 0xBF};
  }
  return at;
}

char16_t foldUnit(char16_t unit) {
  auto const plus = [unit](int distance) { return static_cast<char16_t>(unit + distance); };
  auto const within = [unit](char16_t low, char16_t high) { return unit >= low && unit <= high; };
  bool const even = unit % 2 == 0;
  if (unit < 0x80) return within(u'A', u'Z') ? plus(32) : unit;
  if (within(0xC0, 0xDE)) return unit == 0xD7 ? unit : plus(32);
  if (unit == 0x178) return 0xFF;  // Y with diaeresis, whose small letter is in Latin-1
  if (unit < 0x386 || unit > 0x52F) return unit;
  if (unit == 0x386) return 0x3AC;
  if (within(0x388, 0x38A)) return plus(37);
  if (unit == 0x38C) return 0x3CC;
  if (within(0x38E, 0x38F)) return plus(63);
  if (within(0x391, 0x3AB)) return unit == 0x3A2 ? unit : plus(32);
  if (unit == 0x3C2) return 0x3C3;  // both small sigmas share the capital
  if (within(0x400, 0x40F)) return plus(80);
  if (within(0x410, 0x42F)) return plus(32);
  if (unit == 0x4C0) return 0x4CF;
  if (within(0x4C1, 0x4CE)) return even ? unit : plus(1);
  if (within(0x460, 0x481) || within(0x48A, 0x4BF) || within(0x4D0, 0x52F))
    return even ? plus(1) : unit;
  return unit;
}

}  // namespace

UString toUtf16(std::string_view utf8) {
  // Never more units than bytes: a sequence of n bytes is one unit, or two when n is 4.
  UString result(utf8.size(), u'\0');
  char16_t* out = result.data();
  char const* at = utf8.data();
  char const* const last = at + utf8.size();
  while (at != last) {
    char const* const asciiEnd = endOfAscii(at, last);
    out = std::transform(at, asciiEnd, out, [](char byte) { return static_cast<char16_t>(byte); });
    char const* const validEnd = utf8::find_invalid(asciiEnd, last);
    out = utf8::unchecked::utf8to16(asciiEnd, validEnd, out);
    at = validEnd;
    if (at == last) break;
    *out++ = replacement;
    at = endOfMaximalSubpart(at, last);
  }
  result.resize(static_cast<std::size_t>(out - result.data()));
  return result;
}

std::string toUtf8(std::u16string_view utf16) {
  std::string result;
  result.reserve(utf16.size());
  char16_t const* at = utf16.data();
  char16_t const* const last = at + utf16.size();
  while (at != last) {
    char16_t const* const asciiEnd = endOfAscii(at, last);
    auto const before = result.size();
    result.resize(before + static_cast<std::size_t>(asciiEnd - at));
    std::transform(at, asciiEnd, result.data() + before,
                   [](char16_t unit) { return static_cast<char>(unit); });
    for (at = asciiEnd; at != last && *at > 127; ++at) {
      char32_t point = *at;
      if (isHighSurrogate(*at) && last - at > 1 && isLowSurrogate(at[1])) {
        point = codePoint(at[0], at[1]);
        ++at;
      } else if (isHighSurrogate(*at) || isLowSurrogate(*at)) {
        point = replacement;
      }
      utf8::unchecked::append(point, std::back_inserter(result));
    }
  }
  return result;
}

std::wstring toWide(std::u16string_view utf16) {
  std::wstring result;
  result.reserve(utf16.size());
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    bool const pair = sizeof(wchar_t) > 2 && isHighSurrogate(utf16[i]) && i + 1 < utf16.size() &&
                      isLowSurrogate(utf16[i + 1]);
    result += static_cast<wchar_t>(pair ? codePoint(utf16[i], utf16[i + 1]) : utf16[i]);
    if (pair) ++i;
  }
  return result;
}

UString fromWide(std::wstring_view wide) {
  UString result;
  result.reserve(wide.size());
  for (wchar_t const character : wide) {
    auto const point = static_cast<char32_t>(character);
    if (point <= 0xFFFF) {
      result += static_cast<char16_t>(point);
    } else if (point <= 0x10FFFF) {
      result += static_cast<char16_t>(0xD7C0 + (point >> 10));
      result += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
    } else {
      result += replacement;
    }
  }
  return result;
}

bool equalIgnoringCase(std::u16string_view a, std::u16string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char16_t left, char16_t right) {
    return left == right || foldUnit(left) == foldUnit(right);
  });
}

UString foldCase(std::u16string_view text) {
  UString result(text);
  std::transform(result.begin(), result.end(), result.begin(), foldUnit);
  return result;
}

}  // namespace machine
