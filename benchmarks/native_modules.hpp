#pragma once

#include <filesystem>

namespace benchmarks {

/// Loads a DLL with nothing but the host's own call, for good. Throws std::runtime_error.
void nativeLoad(std::filesystem::path const& module);

}  // namespace benchmarks
