#pragma once

#include <filesystem>
#include <functional>

#include "machine/reentrant_lock.hpp"

namespace machine::simulated {

/// A lock of the host on a file, which is made and stays.
class SimulatedLock final : public ReentrantLock {
 public:
  /// `acquired` is called each time that this process has become the one that holds it, and
  /// `letGo`, which throws nothing, before it is not any more.
  SimulatedLock(std::filesystem::path file, std::function<void()> acquired,
                std::function<void()> letGo);

 private:
  class HeldFile;

  std::unique_ptr<Held> take(std::chrono::milliseconds limit) override;

  std::filesystem::path file_;
  std::function<void()> acquired_;
  std::function<void()> letGo_;
};

}  // namespace machine::simulated
