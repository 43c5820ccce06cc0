#pragma once

#include <string_view>
#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

/// File-system operations on the current machine. A failure that is not given another outcome
/// throws machine::SystemError, a std::runtime_error whose text names the operation, the path and
/// the system's reason.
namespace fl::filesystem {

/// Whether a file or folder of that name exists: true also when something is there that may not be
/// looked at, false for a name that cannot exist or cannot be reached. Never throws a SystemError.
REGISTRATION_API bool exists(Path const& path);
REGISTRATION_API bool exists(UString const& path);

/// Whether it is a folder, or a link to one; false when nothing of that name exists.
REGISTRATION_API bool is_directory(Path const& path);

/// Deletes one file or empty folder. False when nothing of that name exists.
REGISTRATION_API bool remove(Path const& path);

/// Deletes a file, or a folder with all its content; nothing when it does not exist. A link is
/// removed itself, never what it points to. Refuses (std::invalid_argument) an empty path and any
/// that names or comes down to the root of a drive or share: `C:`, `C:\`, `\\srv\share`, `C:\a\..`.
REGISTRATION_API void remove_all(Path const& path);

enum class rename_options { keep_existing, replace_existing };

/// Renames or moves a file within its volume. With keep_existing an existing target is an error.
REGISTRATION_API void rename(UString const& from, UString const& to,
                             rename_options options = rename_options::replace_existing);

/// Puts a file with this content in the place of `path` at once: when that fails, what was there
/// stays. Only where the folder takes no new file, or the old one cannot be replaced because others
/// have it open, the old one is overwritten.
REGISTRATION_API void replace_file(Path const& path, std::string_view content);

/// Whether the path names one place whatever the current folder is: `C:\a`, `\\srv\share`; not `a`,
/// `\a`, `C:a`.
REGISTRATION_API bool is_absolute(Path const& path);

/// What to tell of a path that leads to another server than the one that `home` lies on: whoever
/// looks whether it exists has the system log on there. Empty of any other.
REGISTRATION_API UString foreign_server_warning(Path const& path, Path const& home);

/// `path` expressed relative to `base`, both made absolute first, components compared without
/// regard to case: (`C:\p\a\b`, `C:\p`) -> `a\b`; (`C:\q`, `C:\p`) -> `..\q`; (`C:\p`, `C:\p`) ->
/// `.`. On another drive or share there is no relative form: the absolute path itself.
REGISTRATION_API Path relative(Path const& path, Path const& base);

REGISTRATION_API Path get_current_path();
/// False when the folder does not exist or cannot be entered.
REGISTRATION_API bool change_current_path(Path const& path);

/// The names in a folder, files and folders, in the system's order.
REGISTRATION_API std::vector<UString> entry_names(Path const& folder);

/// Makes the folder and those above it; nothing when it exists. A file of that name is an error.
REGISTRATION_API void create_directories(Path const& path);

}  // namespace fl::filesystem
