#pragma once

#include <chrono>

#include "cppmicroservices/Bundle.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

class FrameworkEvent;

/// A framework, itself the bundle with the id 0. Start initializes it when that is still to do.
/// Stop stops the active bundles and forgets all; what an activator throws then is dropped. Who
/// needs that done waits with WaitForStop: Stop may return before. It cannot be uninstalled
/// (std::runtime_error).
class US_Framework_EXPORT Framework : public Bundle {
 public:
  /// Throws std::logic_error when `bundle` is no framework.
  explicit Framework(Bundle bundle);
  Framework(Framework const&);
  Framework(Framework&&) noexcept;
  Framework& operator=(Framework const&);
  Framework& operator=(Framework&&) noexcept;
  ~Framework() override;

  /// Makes the framework ready for bundles to be installed: STATE_STARTING, with a valid context.
  void Init();
  /// Waits until it is stopped; 0 is without end. FRAMEWORK_STOPPED or FRAMEWORK_WAIT_TIMEDOUT.
  FrameworkEvent WaitForStop(std::chrono::milliseconds const& timeout);

 private:
  friend class FrameworkFactory;
  explicit Framework(std::shared_ptr<CoreBundleContext> const& core);
};

}  // namespace cppmicroservices
