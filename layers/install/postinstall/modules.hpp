#pragma once

#include <array>
#include <string>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

namespace install::postinstall {

/// Loads a module (LoadLibraryW), which must be `file`, an absolute path; calls a function that it
/// exports, which takes three NUL-terminated narrow strings, and releases the module. False when it
/// cannot be loaded, is another file, which is told as trouble, or exports no such function. Throws
/// std::runtime_error with the text of what the function throws.
REGISTRATION_API bool callEntryPoint(std::wstring const& module, fl::filesystem::Path const& file,
                                     std::string const& entryPoint,
                                     std::array<std::string, 3> const& arguments);

}  // namespace install::postinstall
