#include "benchmarks/native_modules.hpp"

#include <dlfcn.h>

#include <stdexcept>

namespace benchmarks {

void nativeLoad(std::filesystem::path const& module) {
  if (dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
    throw std::runtime_error("cannot load " + module.string());
  }
}

}  // namespace benchmarks
