#pragma once

#include <optional>
#include <string>

#include "cppmicroservices/AnyMap.h"

namespace cppmicroservices {

/// The text of the section ".bundle" of a DLL: of a PE file (Windows) or a 64-bit little-endian ELF
/// file (Linux), on either host. nullopt for a file without one, whatever it holds; a section that
/// reaches beyond the file or is larger than a manifest may be counts as none. No code of the DLL
/// runs. Throws std::runtime_error "... does not exist" when there is no such file.
std::optional<std::string> embeddedManifest(std::string const& location);

/// Throws std::exception for a text that is no JSON object or is nested too deeply.
AnyMap parsedManifest(std::string const& text);

}  // namespace cppmicroservices
