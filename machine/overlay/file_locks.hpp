#pragma once

#include <chrono>
#include <memory>

#include "machine/files.hpp"
#include "machine/overlay/file_tree.hpp"

namespace machine::overlay {

/// Locks of files among the threads of this process.
class FileLocks {
 public:
  FileLocks();
  ~FileLocks();
  /// Waits up to `limit`; null when somebody else still holds the lock then.
  std::unique_ptr<FileLock> acquire(PathKey const& file, std::chrono::milliseconds limit);

 private:
  struct Held;
  class Lock;
  std::shared_ptr<Held> held_;
};

}  // namespace machine::overlay
