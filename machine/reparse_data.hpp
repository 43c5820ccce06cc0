#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "machine/files.hpp"

/// What a symbolic link or a junction holds on the disk. Format: Microsoft, "REPARSE_DATA_BUFFER",
/// ntifs.h.
namespace machine {

/// The link that reparse data describes, but for isDirectory, which they do not tell; nullopt for
/// data of another kind and for data that are damaged. `\??\C:\a` is told as `C:\a`.
REGISTRATION_API std::optional<Link> linkIn(std::string_view data);

/// The data of a junction to the folder `target`, an absolute path.
REGISTRATION_API std::string junctionData(std::u16string_view target);

}  // namespace machine
