#pragma once

#include <chrono>
#include <string>

#include "machine/api.hpp"

namespace machine {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual std::chrono::system_clock::time_point now() = 0;
};

/// "2026-11-21T08:30:00.123Z": ISO 8601, UTC, milliseconds.
REGISTRATION_API std::string toIso8601(std::chrono::system_clock::time_point time);

}  // namespace machine
