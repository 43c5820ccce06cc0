#pragma once

#include <chrono>
#include <memory>

#include "machine/api.hpp"

namespace machine {

/// The one lock of the whole machine that keeps installations apart: whoever changes a machine in
/// more than one step holds it meanwhile. A process that ends lets go, however it ends.
///
/// On a real machine an administrator's lock lies where only administrators and the system can
/// reach it, and keeps all of them apart; everybody else has one of their own, which keeps one
/// user's programs apart. For one thread: who holds it lets go on the thread that acquired it.
class MachineLock {
 public:
  /// Being held; its destructor lets go. Must not outlive the machine.
  class REGISTRATION_API Held {
   public:
    virtual ~Held() = default;
  };

  virtual ~MachineLock() = default;

  /// Waits up to `limit` while another process holds it. When this process holds it already, the
  /// same holding is shared, at once. Throws SystemError: ErrorCode::timeout when the other one
  /// still holds it, and when the lock is not what it should be, such as one that somebody planted.
  virtual std::shared_ptr<Held> acquire(std::chrono::milliseconds limit) = 0;
};

}  // namespace machine
