#pragma once

#include <array>
#include <string>

#include "machine/api.hpp"

namespace install::postinstall {

/// Loads a module (LoadLibraryW), calls a function that it exports, which takes three
/// NUL-terminated narrow strings, and releases the module. False when it cannot be loaded or
/// exports no such function. Throws std::runtime_error with the text of what the function throws.
REGISTRATION_API bool callEntryPoint(std::wstring const& module, std::string const& entryPoint,
                                     std::array<std::string, 3> const& arguments);

}  // namespace install::postinstall
