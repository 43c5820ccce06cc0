#pragma once

#include "machine/api.hpp"

namespace machine::windows {

/// Has the console show what this process writes as UTF-8 for as long as the object lives; nothing
/// where the output goes elsewhere.
class REGISTRATION_API Utf8Console {
 public:
  Utf8Console();
  ~Utf8Console();
  Utf8Console(Utf8Console const&) = delete;
  Utf8Console& operator=(Utf8Console const&) = delete;

 private:
  unsigned previousCodePage_;
};

}  // namespace machine::windows
