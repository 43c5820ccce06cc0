#include "benchmarks/native_modules.hpp"

#include <windows.h>

#include <stdexcept>

namespace benchmarks {

void nativeLoad(std::filesystem::path const& module) {
  if (LoadLibraryW(module.c_str()) == nullptr) {
    throw std::runtime_error("cannot load " + module.string());
  }
}

}  // namespace benchmarks
