#pragma once

#include <istream>
#include <optional>

#include "machine/files.hpp"

namespace machine::simulated {

/// The fixed file version in the version resource of a program or library; nullopt when the file is
/// none or has none. Every offset is checked: the file may be damaged or made to harm. Format:
/// Microsoft, "PE Format" (the .rsrc section) and VS_VERSIONINFO.
std::optional<FileVersion> readVersionResource(std::istream& file);

}  // namespace machine::simulated
