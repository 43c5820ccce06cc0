#include "machine/unicode.hpp"

#include <array>

#include "fuzz/fuzz.hpp"
#include "fuzz/texts.hpp"
#include "machine/printable.hpp"

namespace {

using machine::UString;

/// A byte sequence of Unicode's table 3-7, "Well-Formed UTF-8 Byte Sequences": its first byte and
/// its second one; all later ones are 80..BF.
struct Sequence {
  unsigned char firstFrom, firstTo;
  unsigned char secondFrom, secondTo;
  std::size_t length;
};
constexpr std::array<Sequence, 9> sequences = {{
    {0x00, 0x7F, 0x00, 0x00, 1},
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

void append(UString& text, char32_t point) {
  if (point < 0x10000) {
    text += static_cast<char16_t>(point);
  } else {
    text += static_cast<char16_t>(0xD7C0 + (point >> 10));
    text += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
  }
}

/// Takes one sequence, or the maximal subpart of an ill-formed one, off the front.
char32_t takePoint(std::string_view& rest) {
  auto const byteAt = [&](std::size_t i) { return static_cast<unsigned char>(rest[i]); };
  auto const* const found = std::find_if(
      sequences.begin(), sequences.end(),
      [&](Sequence const& one) { return one.firstFrom <= byteAt(0) && byteAt(0) <= one.firstTo; });
  if (found == sequences.end()) {
    rest.remove_prefix(1);
    return 0xFFFD;
  }
  char32_t point = found->length == 1 ? byteAt(0) : byteAt(0) & (0x7F >> found->length);
  std::size_t taken = 1;
  for (; taken < found->length && taken < rest.size(); ++taken) {
    unsigned char const from = taken == 1 ? found->secondFrom : 0x80;
    unsigned char const to = taken == 1 ? found->secondTo : 0xBF;
    if (byteAt(taken) < from || byteAt(taken) > to) break;
    point = point << 6 | (byteAt(taken) & 0x3F);
  }
  bool const isWhole = taken == found->length;
  rest.remove_prefix(taken);
  return isWhole ? point : 0xFFFD;
}

UString decoded(std::string_view utf8) {
  UString text;
  while (!utf8.empty()) append(text, takePoint(utf8));
  return text;
}

void checkUtf8(std::string_view bytes) {
  UString const text = machine::toUtf16(bytes);
  FUZZ_EXPECT(text == decoded(bytes));
  FUZZ_EXPECT(fuzz::isWellFormed(text));
}

void checkUtf16(UString const& units) {
  UString const text = machine::toUtf16(machine::toUtf8(units));
  FUZZ_EXPECT(text.size() == units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    bool const isSurrogate = units[i] >= 0xD800 && units[i] <= 0xDFFF;
    FUZZ_EXPECT(text[i] == units[i] || (isSurrogate && text[i] == 0xFFFD));
  }
  FUZZ_EXPECT(machine::fromWide(machine::toWide(text)) == text);

  UString const folded = machine::foldCase(units);
  FUZZ_EXPECT(folded.size() == units.size());
  FUZZ_EXPECT(machine::foldCase(folded) == folded);
  FUZZ_EXPECT(machine::equalIgnoringCase(units, folded));
}

void checkPrintable(std::string_view bytes) {
  FUZZ_EXPECT(fuzz::isPrintable(machine::printable(bytes)));
  constexpr std::size_t limit = 16;
  std::string const shortened = machine::shortened(bytes, limit);
  FUZZ_EXPECT(fuzz::isPrintable(shortened));
  FUZZ_EXPECT(machine::toUtf16(shortened).size() <= limit * 6 + 3);  // of "\\u001B"
}

}  // namespace

void fuzz::run(std::string_view input) {
  checkUtf8(input);
  checkUtf16(unitsOf(input));
  checkPrintable(input);
}
