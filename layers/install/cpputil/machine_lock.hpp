#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>

#include "machine/api.hpp"
#include "machine/machine_lock.hpp"

namespace install::cpputil {

/// Another process went on holding the machine's lock for as long as it was to be waited for.
class REGISTRATION_API machine_busy : public std::runtime_error {
 public:
  explicit machine_busy(std::chrono::milliseconds waited);
};

/// Keeps other installations off the current machine for as long as it lives. Steps that read
/// something, change it and write it back (the machine's Path, the class path, the service host)
/// undo each other when two processes take them at once, so whoever runs several commands holds
/// this around all of them. `regplan` does, and the service host's setup does by itself; so may
/// whoever calls them: within one process the lock is shared.
///
/// One process at a time has it, of all those that run with administrator rights; without such
/// rights, of those of the same user. A process that ends lets go. A program that the holder starts
/// and waits for must not wait for the lock in its turn. For the installer's one thread.
class REGISTRATION_API machine_lock {
 public:
  /// Called once, before waiting begins, when another process holds the lock.
  using waiting = std::function<void()>;

  static constexpr std::chrono::minutes usual_limit{10};

  /// Waits up to `limit`. Throws machine_busy when another process still holds it then, and
  /// machine::SystemError when there is no lock to be had, such as when another user has put an
  /// object of their own in its place.
  explicit machine_lock(std::chrono::milliseconds limit = usual_limit,
                        waiting const& about_to_wait = nullptr);
  ~machine_lock();
  machine_lock(machine_lock const&) = delete;
  machine_lock& operator=(machine_lock const&) = delete;

 private:
  std::shared_ptr<machine::MachineLock::Held> held_;
};

}  // namespace install::cpputil
