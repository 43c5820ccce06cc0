#pragma once

#include <string_view>

namespace vortanconnector::installationsregistry {

/// Whether a name may name a registry: a plain file name of up to 100 units, without separators,
/// control and reserved characters, blanks and dots at its ends, and not that of a device such as
/// CON; well-formed UTF-16.
bool isRegistryName(std::u16string_view name);

}  // namespace vortanconnector::installationsregistry
