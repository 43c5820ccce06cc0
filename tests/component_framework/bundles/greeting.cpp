#include <memory>
#include <tuple>

#include "cppmicroservices/BundleActivator.h"
#include "cppmicroservices/GetBundleContext.h"
#include "cppmicroservices/ServiceObjects.h"
#include "tests/component_framework/bundles/interfaces.hpp"

namespace {

class NamedGreeting final : public component_tests::Greeting {
 public:
  std::string greet() const override {
    return std::string("hello from ") + US_STR(US_BUNDLE_NAME) +
           (cppmicroservices::GetBundleContext() ? "" : ", stopped");
  }
};

/// Registers its greeting and writes in the journal, if there is one. Leaves both services alone
/// when it stops: that is the framework's to clear.
class Activator final : public cppmicroservices::BundleActivator {
 public:
  void Start(cppmicroservices::BundleContext context) override {
    record(context, "start");
    std::ignore =
        context.RegisterService<component_tests::Greeting>(std::make_shared<NamedGreeting>());
  }
  void Stop(cppmicroservices::BundleContext context) override { record(context, "stop"); }

 private:
  static void record(cppmicroservices::BundleContext context, std::string const& event) {
    if (auto const reference = context.GetServiceReference<component_tests::Journal>()) {
      context.GetServiceObjects(reference).GetService()->record(event + " " +
                                                                US_STR(US_BUNDLE_NAME));
    }
  }
};

}  // namespace

CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(Activator)
