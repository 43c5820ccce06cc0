#pragma once

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace install::cpputil {

/// Compares two versions field by field, fields separated by ".": 1 when `a` is higher, -1 when `b`
/// is, 0 when they are equal. A field reads as C's atoi reads it (no digits: 0), a missing one as
/// 0: 1.2 equals 1.2.0.0, 1.10 is higher than 1.9. A number beyond int counts as the nearest int.
REGISTRATION_API int compareVersions(fl::i18n::UString const& a, fl::i18n::UString const& b);

}  // namespace install::cpputil
