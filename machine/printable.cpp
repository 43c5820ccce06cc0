#include "machine/printable.hpp"

#include "machine/unicode.hpp"

namespace machine {

namespace {

/// Of the Unicode Bidirectional Algorithm: such a character makes what follows it look like
/// something else.
bool changesDirection(char16_t unit) {
  return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

bool isControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028 || unit == 0x2029 ||
         changesDirection(unit);
}

UString escaped(char16_t unit) {
  if (unit == u'\n') return u"\\n";
  if (unit == u'\r') return u"\\r";
  if (unit == u'\t') return u"\\t";
  constexpr std::u16string_view digits = u"0123456789ABCDEF";
  UString text = u"\\u";
  for (int shift = 12; shift >= 0; shift -= 4) text += digits[(unit >> shift) & 0xF];
  return text;
}

std::string printableLine(std::u16string_view text) {
  UString line;
  for (char16_t const unit : text) {
    if (isControl(unit)) {
      line += escaped(unit);
    } else {
      line += unit;
    }
  }
  return toUtf8(line);
}

bool isHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

}  // namespace

std::string printable(std::string_view utf8) {
  return printableLine(toUtf16(utf8));
}

std::string shortened(std::string_view utf8, std::size_t limit) {
  // No character takes more than four bytes, so the rest need not be looked at.
  UString text = toUtf16(utf8.substr(0, 4 * (limit + 1)));
  if (text.size() <= limit) return printableLine(text);
  bool const splitsPair = limit > 0 && isHighSurrogate(text[limit - 1]);
  text.resize(splitsPair ? limit - 1 : limit);
  return printableLine(text) + "...";
}

}  // namespace machine
