#pragma once

#include <ostream>

#include "fl/filesystem/path.hpp"

/// Lets GoogleTest print UTF-16 text and paths readably.
namespace fl::filesystem {

inline void PrintTo(basic_path const& path, std::ostream* out) {
  *out << i18n::to_string(path.ustring());
}

}  // namespace fl::filesystem
