#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "machine/unicode.hpp"

/// HTML made from texts of unknown origin.
namespace regplan::html {

/// Text as the content of an element or of an attribute in double quotes. What a reader could not
/// see or would be misled by is marked and told by its code point, `<span
/// class="odd">U+202E</span>` : control characters (a tab stays as it is), formatting characters
/// such as overrides of the writing direction, unpaired surrogates and what else shows nothing.
/// Texts of more than `limit` units are cut, and how much is missing is said.
std::string text(std::u16string_view text, std::size_t limit = 4000);
/// The same for UTF-8.
std::string text(std::string_view utf8, std::size_t limit = 4000);

/// Text where there can be no elements, such as in a title: the marks are bare.
std::string bareText(std::string_view utf8);

/// `inner`, HTML already, in an element; `attributes` as they stand: ` class="a"` or nothing.
std::string element(std::string_view name, std::string_view attributes, std::string_view inner);

/// The template with each {{name}} replaced by its value; values are not searched for names.
/// Throws std::logic_error for a name that has no value.
std::string filled(std::string_view pattern,
                   std::initializer_list<std::pair<std::string_view, std::string_view>> values);

/// The hash of an inline style or script as a Content-Security-Policy names it:
/// "'sha256-BASE64'".
std::string policyHash(std::string_view content);

}  // namespace regplan::html
