#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "fl/filesystem/path.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;

/// A small file's content. Throws std::runtime_error when it cannot be read or is larger than
/// `limit` bytes.
std::string readText(Path const& file, std::size_t limit);

/// Puts a file in place as a whole: whatever fails, it is the old one, or none, or the new one.
void writeText(Path const& file, std::string_view content);

/// Where a file is written until it is whole.
inline Path partialName(Path const& file) {
  return Path(file.ustring() + u".part");
}

}  // namespace desktopservicesetup
