#pragma once

#include <compare>
#include <string>
#include <string_view>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace fl::filesystem {

using i18n::UString;

/// A Windows file-system path held as UTF-16 text, with Windows rules on every host: drives, UNC,
/// "\\?\", both separators, no regard to trailing dots and blanks of a name. The text is kept as it
/// was given; it is compared and ordered unit by unit.
class REGISTRATION_API basic_path {
 public:
  basic_path() = default;
  basic_path(UString text) : text_(std::move(text)) {}  // NOLINT: a text is a path
  basic_path(char16_t const* text) : text_(text) {}     // NOLINT: likewise

  UString const& ustring() const noexcept { return text_; }
  bool empty() const noexcept { return text_.empty(); }

  /// Appends a component with exactly one backslash between; an empty side adds nothing:
  /// `C:\a\` / `b` -> `C:\a\b`.
  basic_path& operator/=(basic_path const& component);
  friend REGISTRATION_API basic_path operator/(basic_path const& folder,
                                               basic_path const& component);

  /// Last component, `C:\a\b.c` -> `b.c`; empty after a trailing separator.
  basic_path filename() const;
  /// `C:\a\b` -> `C:\a` -> `C:\` -> `C:\`.
  basic_path parent_path() const;
  /// The path in the system's own form, every "/" a backslash.
  basic_path make_native() const;

  bool operator==(basic_path const&) const = default;
  auto operator<=>(basic_path const&) const = default;

 private:
  UString text_;
};

using Path = basic_path;

/// The last component without its extension: `C:\x\app.exe` -> `app`, `a.b.c` -> `a.b`,
/// `.profile` -> `.profile`, `app.exe. ` -> `app`.
REGISTRATION_API UString extract_stem(Path const& path);
/// The extension without its dot: `a.phl` -> `phl`, `a.b.c` -> `c`; empty for `a`, `a.`, `.phl`.
REGISTRATION_API UString extract_extension(Path const& path);
/// The first component after the root: `C:\a\b` -> `a`, `a\b` -> `a`.
REGISTRATION_API Path extract_first_element(Path const& path);
/// How many units name where the path starts: 3 for `C:\a`, 0 for `a\b`, 12 for `\\srv\share\a`.
REGISTRATION_API std::size_t root_length(Path const& path);

}  // namespace fl::filesystem
