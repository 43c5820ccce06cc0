#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine/unicode.hpp"

namespace regplan {

/// A text file's content.
struct FileText {
  std::string
      encoding;  ///< "UTF-8", "UTF-8 with BOM", "UTF-16 LE", "UTF-16 BE", "UTF-16 LE without BOM"
  std::string lineEnds;  ///< "LF", "CRLF", "mixed", or empty for a file without line ends
  /// Without their ends; where the ends are mixed, a CR stays at its line's end.
  std::vector<machine::UString> lines;
  bool endsWithLineEnd = true;  ///< also of an empty file

  bool operator==(FileText const&) const = default;
};

/// The text that the bytes are: UTF-16 by its byte order mark, or as little-endian text without one
/// when every second byte says so, else well-formed UTF-8. nullopt when they are neither, or have
/// control characters that texts do not have.
std::optional<FileText> fileText(std::string_view bytes);

}  // namespace regplan
