#include <memory>
#include <tuple>

#include "cppmicroservices/BundleActivator.h"
#include "cppmicroservices/BundleContext.h"

namespace {

struct Service {
  virtual ~Service() = default;
};

class Activator final : public cppmicroservices::BundleActivator {
 public:
  void Start(cppmicroservices::BundleContext context) override {
    std::ignore = context.RegisterService<Service>(std::make_shared<Service>());
  }
  void Stop(cppmicroservices::BundleContext) override {}
};

}  // namespace

CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(Activator)
