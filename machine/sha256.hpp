#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "machine/api.hpp"

namespace machine {

/// SHA-256 (FIPS 180-4) of bytes that come piece by piece: the system's own on Windows, this
/// project's elsewhere.
class REGISTRATION_API Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(Sha256 const&) = delete;
  Sha256& operator=(Sha256 const&) = delete;

  void add(std::string_view bytes);
  /// Of all that was added, 64 lower-case hexadecimal digits. REQUIRES: called once, nothing added
  /// after it.
  std::string finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace machine
