#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "fl/i18n/ustring.hpp"

namespace vortanconnector::installationsregistry {

using fl::i18n::UString;

/// The registry file's text with one more record; nullopt when it has the root already. `file` is
/// its text before, nullopt when there is none yet; what others added to its objects is kept.
/// `root` is in normalizedRoot's form, `added` ISO 8601. Throws std::runtime_error with the place
/// and the reason when the text is not a registry of the version known here.
std::optional<std::string> withRecord(std::optional<std::string> const& file, UString const& root,
                                      std::string const& added);

/// The form in which a root is recorded: native, "." and ".." worked out, without separators at the
/// end but that of a drive or share. Empty for a path that is not absolute.
UString normalizedRoot(UString const& root);

/// Whether two roots are one folder as far as their names tell: without regard to case, separators
/// at the end, and a "\\?\" before them.
bool isSameRoot(UString const& a, UString const& b);

}  // namespace vortanconnector::installationsregistry
