#include "machine/overlay/file_locks.hpp"

#include <condition_variable>
#include <mutex>
#include <set>

namespace machine::overlay {

struct FileLocks::Held {
  std::mutex mutex;
  std::condition_variable letGo;
  std::set<PathKey> files;
};

class FileLocks::Lock final : public FileLock {
 public:
  Lock(std::shared_ptr<Held> held, PathKey file) : held_(std::move(held)), file_(std::move(file)) {}
  ~Lock() override {
    {
      std::lock_guard const guard(held_->mutex);
      held_->files.erase(file_);
    }
    held_->letGo.notify_all();
  }
  Lock(Lock const&) = delete;
  Lock& operator=(Lock const&) = delete;

 private:
  std::shared_ptr<Held> held_;
  PathKey file_;
};

FileLocks::FileLocks() : held_(std::make_shared<Held>()) {}

FileLocks::~FileLocks() = default;

std::unique_ptr<FileLock> FileLocks::acquire(PathKey const& file, std::chrono::milliseconds limit) {
  std::unique_lock guard(held_->mutex);
  bool const isFree =
      held_->letGo.wait_for(guard, limit, [&] { return !held_->files.contains(file); });
  if (!isFree) return nullptr;
  held_->files.insert(file);
  return std::make_unique<Lock>(held_, file);
}

}  // namespace machine::overlay
