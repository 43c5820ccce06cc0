#pragma once

#include <cstddef>
#include <filesystem>

#include "fl/filesystem/path.hpp"

namespace benchmarks {

/// Counts the files ending in ".phl" below `root` with nothing but the host's own calls.
std::size_t nativeWalk(fl::filesystem::Path const& root);

/// Where the folder lies on the host.
std::filesystem::path hostPath(fl::filesystem::Path const& path);

}  // namespace benchmarks
