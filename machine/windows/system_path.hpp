#pragma once

#include <cstdint>
#include <string_view>

#include "machine/unicode.hpp"

namespace machine::windows {

/// A path as the file calls take it. One that would go beyond what they accept in the usual form is
/// made absolute and verbatim: `a\b` -> `\\?\C:\...\a\b`, `\\srv\share\a` -> `\\?\UNC\srv\share\a`.
/// Throws SystemError for what cannot be a path; `operation` is for its text.
UString systemPath(std::string_view operation, std::u16string_view path);

/// The absolute form with `\\?\` before it, which the system takes as it is. Throws SystemError.
UString verbatimPath(std::string_view operation, std::u16string_view path);

/// The error for what cannot be a path, whatever is on the disk: ERROR_INVALID_NAME for a NUL in
/// it, ERROR_FILENAME_EXCED_RANGE for one that is too long, also where the current folder is added;
/// else ERROR_SUCCESS.
std::uint32_t pathProblem(std::u16string_view path);

/// The absolute form of `path` by the system's own rules. Throws SystemError.
UString fullPath(std::string_view operation, std::u16string_view path);

}  // namespace machine::windows
