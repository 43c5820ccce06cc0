#pragma once

#include <cstddef>
#include <string>

#include "fl/filesystem/path.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;

/// A small file's content. Throws std::runtime_error when it cannot be read or is larger than
/// `limit` bytes.
std::string readText(Path const& file, std::size_t limit);

}  // namespace desktopservicesetup
