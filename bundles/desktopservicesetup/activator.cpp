#include <memory>
#include <tuple>

#include "bundles/desktopservicesetup/implementation/DesktopServiceSetup.hpp"
#include "cppmicroservices/BundleActivator.h"
#include "cppmicroservices/BundleContext.h"

namespace desktopservicesetup {

/// Offers the setup to the component framework.
class Activator final : public cppmicroservices::BundleActivator {
 public:
  void Start(cppmicroservices::BundleContext context) override {
    std::ignore = context.RegisterService<install::desktopservicesetup::DesktopServiceSetupUtility>(
        std::make_shared<DesktopServiceSetup>());
  }
  /// The framework withdraws the service.
  void Stop(cppmicroservices::BundleContext) override {}
};

}  // namespace desktopservicesetup

CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(desktopservicesetup::Activator)
