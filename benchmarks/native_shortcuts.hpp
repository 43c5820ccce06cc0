#pragma once

#include "fl/filesystem/path.hpp"

namespace benchmarks {

/// Writes `count` shortcuts 0.lnk, 1.lnk, ... into an existing folder with nothing but the host's
/// own calls: make a shell link, set what ours sets, save.
void nativeShortcuts(fl::filesystem::Path const& folder, int count);

}  // namespace benchmarks
