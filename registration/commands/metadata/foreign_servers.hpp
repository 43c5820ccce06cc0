#pragma once

#include <cstddef>
#include <string>

#include "registration/utility/types.hpp"

namespace registration::commands::metadata {

/// Warns of an entry that leads to another server than `root`'s: whoever looks whether it exists
/// has Windows log on to that server, in the name of who installs. `place`: what asks for it, a
/// file and a line or JSON pointer.
void warnOfForeignServer(UString const& entry, Path const& root, UString const& place);

/// `FILE:LINE`.
UString placeOf(Path const& file, std::size_t line);

}  // namespace registration::commands::metadata
