#if !defined(_WIN32)

#include <dlfcn.h>

#include <stdexcept>

#include "library.hpp"

namespace cppmicroservices {

Library::Library(std::string const& location)
    : handle_(dlopen(location.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) {
    // Of this thread only (dlerror(3)). NOLINTNEXTLINE(concurrency-mt-unsafe)
    char const* const reason = dlerror();
    throw std::runtime_error("Error loading " + location + ". " +
                             (reason == nullptr ? "" : reason));
  }
}

void* Library::address(std::string const& name) const {
  return dlsym(handle_, name.c_str());
}

}  // namespace cppmicroservices

#endif
