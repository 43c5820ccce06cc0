#include "machine/reentrant_lock.hpp"

namespace machine {

std::shared_ptr<MachineLock::Held> ReentrantLock::acquire(std::chrono::milliseconds limit) {
  if (auto held = held_.lock()) return held;
  std::shared_ptr<Held> held = take(limit);
  held_ = held;
  return held;
}

}  // namespace machine
