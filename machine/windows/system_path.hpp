#pragma once

#include <string_view>

#include "machine/unicode.hpp"

namespace machine::windows {

/// A path as the file calls take it. One that would go beyond what they accept in the usual form is
/// made absolute and verbatim: `a\b` -> `\\?\C:\...\a\b`, `\\srv\share\a` -> `\\?\UNC\srv\share\a`.
/// Throws SystemError (invalidName) for a path with a NUL in it; `operation` is for its text.
UString systemPath(std::string_view operation, std::u16string_view path);

/// The absolute form of `path` by the system's own rules. Throws SystemError.
UString fullPath(std::string_view operation, std::u16string_view path);

}  // namespace machine::windows
