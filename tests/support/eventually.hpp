#pragma once

#include <chrono>
#include <thread>

namespace tests {

/// Asks again and again until the answer is yes, for what other programs do in their own time.
/// False when it has not become so after many times.
template <class Predicate>
bool eventually(Predicate&& isSo) {
  constexpr int attempts = 1200;
  for (int i = 0; i < attempts; ++i) {
    if (isSo()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  return false;
}

}  // namespace tests
