#pragma once

#include <string>
#include <string_view>

#include "machine/api.hpp"

namespace machine {

/// UTF-16 text, the form of every path, message and registry value.
using UString = std::u16string;

/// UTF-8 to UTF-16. Ill-formed input never fails: each maximal subpart of an ill-formed sequence
/// (Unicode Standard, section 3.9, "U+FFFD Substitution of Maximal Subparts") becomes one U+FFFD.
REGISTRATION_API UString toUtf16(std::string_view utf8);

/// UTF-16 to UTF-8. An unpaired surrogate becomes U+FFFD; never fails.
REGISTRATION_API std::string toUtf8(std::u16string_view utf16);

/// The same units as a wide string. On Windows a wide character is a UTF-16 unit and every unit is
/// kept, even an unpaired surrogate; elsewhere it is a code point.
REGISTRATION_API std::wstring toWide(std::u16string_view utf16);

/// The reverse of toWide.
REGISTRATION_API UString fromWide(std::wstring_view wide);

/// Equality of file names, registry names and environment variable names as Windows compares them:
/// without regard to case. Letters are folded one unit to one unit, ASCII, Latin-1, Greek and
/// Cyrillic; other units compare as they are.
REGISTRATION_API bool equalIgnoringCase(std::u16string_view a, std::u16string_view b);

/// The case folding of equalIgnoringCase, for use as a map key.
REGISTRATION_API UString foldCase(std::u16string_view text);

}  // namespace machine
