#pragma once

#include <string>
#include <string_view>

#include "machine/api.hpp"

namespace fl::i18n {

/// UTF-16 text: every path, message and registry value.
using UString = std::u16string;

/// Conversions to UString. Narrow text is UTF-8; ill-formed input becomes U+FFFD, one for each
/// maximal subpart, and never fails. A null pointer reads as empty.
REGISTRATION_API UString to_ustring(std::string_view utf8);
REGISTRATION_API UString to_ustring(std::string const& utf8);
REGISTRATION_API UString to_ustring(char const* utf8);
REGISTRATION_API UString to_ustring(std::wstring_view wide);
REGISTRATION_API UString to_ustring(std::wstring const& wide);
REGISTRATION_API UString to_ustring(wchar_t const* wide);

/// UTF-8 from UTF-16; an unpaired surrogate becomes U+FFFD.
REGISTRATION_API std::string to_string(UString const& text);
/// Wide text for the system's wide-character calls: the same units on Windows.
REGISTRATION_API std::wstring to_wstring(UString const& text);

/// The conversion for exception texts and file content; the same rules as to_ustring/to_string.
REGISTRATION_API UString utf8_to_ustring(std::string_view utf8);
REGISTRATION_API std::string ustring_to_utf8(UString const& text);

/// The value of an environment variable of this process; empty when it is not set.
REGISTRATION_API UString getenv(char const* name);

}  // namespace fl::i18n
