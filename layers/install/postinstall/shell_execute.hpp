#pragma once

#include <string>

#include "machine/api.hpp"

namespace install::postinstall {

/// Has the shell open a program, hidden, with `parameters` as they stand (ShellExecuteExW, mask 0,
/// verb "open"); false when the shell refuses. Does not wait for the program to end.
REGISTRATION_API bool shellExecute(std::wstring const& program, std::wstring const& parameters);

}  // namespace install::postinstall
