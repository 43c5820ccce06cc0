#pragma once

#include <string_view>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

/// Windows file names as text, on every host. "/" counts as "\" except after "\\?\", where Windows
/// takes every unit as it is. Formats: Microsoft, "Naming Files, Paths, and Namespaces" and "File
/// path formats on Windows systems".
namespace machine::path_grammar {

constexpr bool isSeparator(char16_t unit) {
  return unit == u'\\' || unit == u'/';
}

/// Length of the part that names where the path starts:
/// `C:\a` -> 3 (`C:\`), `C:a` -> 2, `\a` -> 1, `\\srv\share\a` -> 12 (`\\srv\share\`),
/// `\\?\C:\a` -> 7, `\\?\UNC\srv\share\a` -> 18 (`\\?\UNC\srv\share\`), `\\.\pipe\a` -> 9,
/// `a\b` -> 0.
REGISTRATION_API std::size_t rootLength(std::u16string_view path);

/// True when the path names one place whatever the current folder is: `C:\a`, `\\srv\share`,
/// `\\?\...`; false for `a`, `\a`, `C:a`.
REGISTRATION_API bool isAbsolute(std::u16string_view path);

/// The server that a path leads to: `\\srv\share\a`, `//srv/share`, `\\?\UNC\srv\share` -> `srv`;
/// `\\srv@80\share` -> `srv@80`, which is another service of that computer. Empty for what lies on
/// a drive or volume (`C:\a`, `\\.\C:\a`, `\\?\Volume{...}\a`) and for a relative path. Any other
/// device may lead anywhere, and is told whole: `\\?\GLOBALROOT\Device\Mup\srv`. That a drive
/// stands for a share, no spelling tells.
REGISTRATION_API std::u16string_view reachedServer(std::u16string_view path);

/// The same where it is not the one that `home` lies on; else empty. Whoever looks there has the
/// system log on to that server.
REGISTRATION_API std::u16string_view foreignServer(std::u16string_view path,
                                                   std::u16string_view home);

/// True for `\\?\...`: taken literally, without "/" , ".", ".." or trailing dots and blanks.
REGISTRATION_API bool isVerbatim(std::u16string_view path);

/// Units that a path may have in its longest form, `\\?\...`.
inline constexpr std::size_t longestPath = 32767;

/// True for a path that would be longer in that form: nothing of that name exists or can be made.
/// Wine takes such lengths for those of other names.
REGISTRATION_API bool isTooLong(std::u16string_view path);

/// The names after the root: `C:\a\\b/c` -> a, b, c.
REGISTRATION_API std::vector<std::u16string_view> components(std::u16string_view path);

/// A name that a file can have: not empty, not "." or "..", no control character, none of
/// <>:"/\|?*.
REGISTRATION_API bool isFileName(std::u16string_view name);

/// Every "/" becomes "\"; a verbatim path stays as it is.
REGISTRATION_API UString toNative(std::u16string_view path);

/// Joins with exactly one "\" between; an empty side adds nothing: `C:\a\` + `\b` -> `C:\a\b`.
REGISTRATION_API UString join(std::u16string_view folder, std::u16string_view name);

/// The last component: `C:\a\b.c` -> `b.c`, `C:\a\` -> ``.
REGISTRATION_API std::u16string_view fileName(std::u16string_view path);

/// Without the last component and the separators before it, but never shorter than the root:
/// `C:\a\b` -> `C:\a` -> `C:\` -> `C:\`.
REGISTRATION_API std::u16string_view parent(std::u16string_view path);

/// The absolute path that the system would use: relative forms resolved against `currentFolder`
/// (absolute), "." and ".." worked out, separators native and single, trailing dots and blanks of
/// each name dropped, and so are names of nothing else and separators at the end. Of `C:a` and
/// another current drive: `C:\a`, for drives have no current folders of their own here. A verbatim
/// path is returned as it is, and so is an empty one or one that is too long.
REGISTRATION_API UString absolute(std::u16string_view path, std::u16string_view currentFolder);

}  // namespace machine::path_grammar
