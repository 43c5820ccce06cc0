#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "machine/api.hpp"
#include "registration/utility/types.hpp"

/// The list files of installed parts: UTF-8 text, an entry a line, trimmed; empty lines and
/// comments are skipped.
namespace registration::commands::metadata {

/// Adds to `found` every file below `root`, at any depth, whose extension is exactly `extension`
/// (case matters). Links are not entered. Throws machine::SystemError when a folder cannot be read;
/// what was found before stays in `found`.
void findFilesByExtension(Path const& root, UString const& extension, std::set<Path>& found);

/// Hands `accept` each line of `file` that is an entry; a line that begins with `commentMark` is a
/// comment. False, with nothing accepted, when the file cannot be opened.
REGISTRATION_API bool readEntries(Path const& file, char commentMark,
                                  std::function<void(std::string const& line)> const& accept);

}  // namespace registration::commands::metadata
