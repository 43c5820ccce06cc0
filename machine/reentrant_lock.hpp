#pragma once

#include <chrono>
#include <memory>

#include "machine/machine_lock.hpp"

namespace machine {

/// What providers share: a process never waits for itself.
class ReentrantLock : public MachineLock {
 public:
  std::shared_ptr<Held> acquire(std::chrono::milliseconds limit) override;

 private:
  /// Acquires it for this process, which does not hold it.
  virtual std::unique_ptr<Held> take(std::chrono::milliseconds limit) = 0;

  std::weak_ptr<Held> held_;
};

}  // namespace machine
