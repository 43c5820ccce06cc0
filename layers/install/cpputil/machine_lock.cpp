#include "install/cpputil/machine_lock.hpp"

#include <string>

#include "machine/machine.hpp"

namespace install::cpputil {

namespace {

using std::chrono::milliseconds;

/// Null when another process holds it for all of the time.
std::shared_ptr<machine::MachineLock::Held> acquire(milliseconds limit) {
  try {
    return machine::current().lock().acquire(limit);
  } catch (machine::SystemError const& failure) {
    if (failure.is(machine::ErrorCode::timeout)) return nullptr;
    throw;
  }
}

std::string seconds(milliseconds time) {
  auto const whole = std::chrono::duration_cast<std::chrono::seconds>(time).count();
  return std::to_string(whole) + (whole == 1 ? " second" : " seconds");
}

}  // namespace

machine_busy::machine_busy(milliseconds waited)
    : std::runtime_error("another installation, removal or restore has not ended within " +
                         seconds(waited)) {}

machine_lock::machine_lock(milliseconds limit, waiting const& about_to_wait)
    : held_(acquire(milliseconds(0))) {
  if (!held_ && limit.count() > 0) {
    if (about_to_wait) about_to_wait();
    held_ = acquire(limit);
  }
  if (!held_) throw machine_busy(limit);
}

machine_lock::~machine_lock() = default;

}  // namespace install::cpputil
