#include <memory>
#include <tuple>

#include "bundles/localstorage/local_storage.hpp"
#include "cppmicroservices/BundleActivator.h"
#include "cppmicroservices/BundleContext.h"

namespace localstorage {

class Activator final : public cppmicroservices::BundleActivator {
 public:
  void Start(cppmicroservices::BundleContext context) override {
    std::ignore = context.RegisterService<foundation::storage::vfs::StorageProvider>(
        std::make_shared<LocalStorage>());
  }
  /// The framework takes the service back.
  void Stop(cppmicroservices::BundleContext) override {}
};

}  // namespace localstorage

CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(localstorage::Activator)
