#pragma once

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace install::postinstall {

/// The system directory, `C:\Windows\System32`. Throws machine::SystemError.
REGISTRATION_API fl::i18n::UString systemDirectory();

}  // namespace install::postinstall
