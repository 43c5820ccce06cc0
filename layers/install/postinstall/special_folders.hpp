#pragma once

#include <cstddef>

#include "machine/api.hpp"

namespace install::postinstall {

/// Units that a buffer for a special folder's path must hold, the terminator included.
inline constexpr std::size_t specialFolderBufferLength = 32768;

/// Fills `buffer` (specialFolderBufferLength wide characters) with the NUL-terminated path of a
/// special folder of the current user: "desktop" the desktop, "startmenu" the Programs folder of
/// the Start menu. Throws std::invalid_argument for another identifier or a null pointer,
/// machine::SystemError when the system does not know the folder or its path does not fit; the
/// buffer is then as it was.
REGISTRATION_API void GetSpecialFolderPath(wchar_t const* folderId, wchar_t* buffer);

}  // namespace install::postinstall
