#pragma once

#include <vector>

#include "machine/api.hpp"
#include "registration/utility/types.hpp"

/// What several commands share.
namespace registration::utility {

/// Compares two versions field by field, fields separated by ".": 1 when `a` is higher, -1 when `b`
/// is, 0 when they are equal. A field reads as C's atoi reads it (no digits: 0), a missing one as
/// 0: 1.2 equals 1.2.0.0, 1.10 is higher than 1.9. A number beyond int counts as the nearest int.
REGISTRATION_API int compareVersions(UString const& a, UString const& b);

/// The file version of a program or library as four numbers, "25.1.0.1"; "0.0.0.0" when it has no
/// version resource.
REGISTRATION_API UString getFileVersion(UString const& filePath);

/// `shortcutName` + ".lnk"; without a name the stem of the executable: `C:\x\app.exe` -> `app.lnk`.
/// Throws std::runtime_error when both are empty.
REGISTRATION_API UString getShortcutFileName(UString const& executablePath,
                                             UString const& shortcutName);

/// Removes an entry of a special folder ("desktop", "startmenu"): the folder joined with
/// `subFolder`, then with `entryName`, each only when not empty. A file, or a folder with
/// everything in it, a link itself; nothing when it does not exist. Nothing but what lies strictly
/// inside the special folder: std::invalid_argument for names that lead elsewhere, for a link among
/// the sub-folders, and when both are empty.
REGISTRATION_API void removeSpecialFolderEntry(UString const& folderId, UString const& entryName,
                                               UString const& subFolder);

/// Each UTF-16 unit through the C library's tolower: in the default locale only A to Z change.
REGISTRATION_API UString toLower(UString const& text);

/// The tokens between delimiters, as std::getline reads them: `a;;b;` -> a, (empty), b; an empty
/// text has none.
REGISTRATION_API std::vector<UString> split(UString const& text, char delimiter);

}  // namespace registration::utility
