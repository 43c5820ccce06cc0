#pragma once

#include <cstddef>

#include "fl/filesystem/path.hpp"
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

/// The path of an entry strictly inside `folder`: below it `subFolder`, "Vortan\Tools", then
/// `name`, each when it is not empty. Throws std::invalid_argument, naming the text, for what would
/// lead elsewhere: a sub-folder that is rooted or a name of more than one component, "." or "..", a
/// colon, a link on the way (the entry itself may be one), or both empty.
REGISTRATION_API fl::filesystem::Path pathInside(fl::filesystem::Path const& folder,
                                                 fl::i18n::UString const& subFolder,
                                                 fl::i18n::UString const& name);

}  // namespace install::postinstall
