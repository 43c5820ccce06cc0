#pragma once

#include <string>
#include <string_view>

#include "machine/api.hpp"

namespace install::cpputil {

/// Why the name of an archive's entry (UTF-8, "/" between components, one at the end for a folder)
/// cannot become a file below a folder of Windows under exactly this name; empty when it can.
/// Rules: Microsoft, "Naming Files, Paths, and Namespaces".
REGISTRATION_API std::string problemOfZipName(std::string_view name);

}  // namespace install::cpputil
