#pragma once

#include "machine/api.hpp"

namespace install::postinstall {

/// Makes the shortcut `shortcutFileName` on the current user's desktop, or replaces the one of that
/// name. Texts may be null, which is the same as empty.
///
/// `target`            the program: absolute, or relative to the current folder; it need not exist
/// `workingFolder`     where the program starts; empty: the target's folder
/// `shortcutFileName`  a file name with its extension, "Vortan.lnk"
/// `iconLocation`      a file with icons and, after a comma, which of them, "C:\x\vortan.exe,2"
///                     (negative: minus a resource identifier); empty: the target's own icon
/// `arguments`         the command line after the program's name
/// `description`       shown when the pointer rests on the shortcut
/// `runAsAdministrator`  not 0: the program asks for elevation when it starts
/// `startMaximized`      not 0: its window fills the screen
///
/// Shortcuts always go into the folder that GetSpecialFolderPath names, never into that of all
/// users, so that whoever removes an entry of that folder finds what was made. Folders that are
/// missing are made.
///
/// Throws, and leaves what was there: std::invalid_argument for an empty target, and for a file
/// name that is not one name in the folder (empty, with a separator or a colon, "." or "..");
/// or a link among the folders;
/// machine::SystemError, which names the file, when the system refuses, and for texts longer than
/// a shortcut holds: 259 units for a path, 1,023 for the description, 32,766 for the arguments.
REGISTRATION_API void CreateDesktopShortcut(wchar_t const* target, wchar_t const* workingFolder,
                                            wchar_t const* shortcutFileName,
                                            wchar_t const* iconLocation, wchar_t const* arguments,
                                            wchar_t const* description, int runAsAdministrator,
                                            int startMaximized);

/// The same in the current user's Start menu, in `folder` below its Programs folder: "Vortan" or
/// "Vortan\Tools"; empty for the Programs folder itself. A folder that would lead elsewhere
/// (rooted, with a colon, with "." or "..") is a std::invalid_argument.
///
/// `neverSearchForTarget`  not 0: when the target is gone, the shell says so and does not look for
///                         a file like it, which might be that of another release
REGISTRATION_API void CreateStartMenuShortcut(wchar_t const* target, wchar_t const* workingFolder,
                                              wchar_t const* shortcutFileName,
                                              wchar_t const* iconLocation, wchar_t const* folder,
                                              wchar_t const* arguments, wchar_t const* description,
                                              int runAsAdministrator, int startMaximized,
                                              int neverSearchForTarget);

}  // namespace install::postinstall
