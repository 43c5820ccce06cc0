#pragma once

#include <cstdint>

#include "fl/i18n/ustring.hpp"
#include "machine/api.hpp"

namespace install::postinstall {

using fl::i18n::UString;

/// Tells every top-level window that the machine's environment changed (SendMessageTimeoutW,
/// WM_SETTINGCHANGE, "Environment", 1000 milliseconds). The call's own result: 0 when it failed or
/// timed out.
REGISTRATION_API std::intptr_t broadcastEnvironmentChange();

/// Sets a variable of this process (SetEnvironmentVariableW); false when the system refuses.
REGISTRATION_API bool setProcessVariable(UString const& name, UString const& value);

/// The calling thread's last system error code, in decimal.
REGISTRATION_API UString lastErrorText();

}  // namespace install::postinstall
