#pragma once

#include <windows.h>

#include <string_view>

#include "machine/error.hpp"

namespace machine::windows {

/// A failed system call as SystemError, with the system's own English text for the code, else its
/// text in the user's language.
SystemError systemError(std::string_view operation, std::u16string_view subject,
                        DWORD code = GetLastError());

}  // namespace machine::windows
