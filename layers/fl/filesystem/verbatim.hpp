#pragma once

#include "fl/filesystem/path.hpp"

namespace fl::filesystem {

/// The path as an absolute one, `\\?\C:\a` or `\\?\UNC\srv\share\a`, that the system takes
/// literally. Names read from a folder are appended to this form only: in any other, a file named
/// "x." or
/// ".. " would stand for another file. Empty for an empty path.
UString verbatim(Path const& path);

}  // namespace fl::filesystem
