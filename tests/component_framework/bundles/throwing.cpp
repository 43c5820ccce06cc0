#include <memory>
#include <stdexcept>
#include <tuple>

#include "cppmicroservices/BundleActivator.h"
#include "tests/component_framework/bundles/interfaces.hpp"

namespace {

class SilentGreeting final : public component_tests::Greeting {
 public:
  std::string greet() const override { return {}; }
};

/// Throws in Start or in Stop, in each case with a service registered.
class Activator final : public cppmicroservices::BundleActivator {
 public:
  void Start(cppmicroservices::BundleContext context) override {
    std::ignore =
        context.RegisterService<component_tests::Greeting>(std::make_shared<SilentGreeting>());
#if defined(THROW_IN_START)
    throw std::runtime_error("no start today");
#endif
  }
  void Stop(cppmicroservices::BundleContext) override {
    throw std::runtime_error("no stop today");
  }
};

}  // namespace

CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(Activator)
