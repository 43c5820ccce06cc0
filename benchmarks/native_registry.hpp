#pragma once

#include <list>

#include "registration/commands/SetRegistryKeys.hpp"

namespace benchmarks {

/// Writes the values with nothing but the host's own calls: create the key, set, close.
void nativeSet(std::list<registration::commands::registryKey> const& records);

}  // namespace benchmarks
