#pragma once

#include <chrono>

namespace machine {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual std::chrono::system_clock::time_point now() = 0;
};

}  // namespace machine
