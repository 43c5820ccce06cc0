#pragma once

#include <string>

namespace cppmicroservices {

/// A DLL in this process. It is never let go: services, exceptions and types that come from it may
/// be in use until the process ends.
class Library {
 public:
  /// `location` is UTF-8. What the DLL needs is looked for beside it and where the system keeps
  /// its own, never in the current folder. Throws std::runtime_error.
  explicit Library(std::string const& location);

  /// Null when it exports no such function.
  template <typename Function>
  Function* find(std::string const& name) const {
    return reinterpret_cast<Function*>(address(name));
  }

 private:
  void* address(std::string const& name) const;

  void* handle_;
};

}  // namespace cppmicroservices
