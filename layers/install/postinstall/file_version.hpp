#pragma once

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

namespace install::postinstall {

/// The file version in the version resource of a program or library, "25.1.0.1"; "0.0.0.0" when the
/// file has none or cannot be read.
REGISTRATION_API fl::i18n::UString readFileVersion(fl::i18n::UString const& file);

}  // namespace install::postinstall
