#pragma once

#include <cstddef>
#include <string>

#include "fl/filesystem/path.hpp"
#include "machine/files.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;

/// Throws std::runtime_error, which tells who, when others may write or exchange the open file:
/// what it holds is run by the system's account.
void requireOwn(machine::FileReader& opened, Path const& file);

/// A small file's content. Throws std::runtime_error when it cannot be read, when others may write
/// it, and when it is larger than `limit` bytes.
std::string readText(Path const& file, std::size_t limit);

}  // namespace desktopservicesetup
