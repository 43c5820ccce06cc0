#include <memory>
#include <tuple>

#include "bundles/classpath_services/class_path_file.hpp"
#include "cppmicroservices/BundleActivator.h"
#include "cppmicroservices/BundleContext.h"

namespace classpath_services {

class Activator final : public cppmicroservices::BundleActivator {
 public:
  void Start(cppmicroservices::BundleContext context) override {
    std::ignore = context.RegisterService<foundation::classpath::ClassPathService>(
        std::make_shared<ClassPathFile>());
  }
  /// The framework takes the service back.
  void Stop(cppmicroservices::BundleContext) override {}
};

}  // namespace classpath_services

CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(classpath_services::Activator)
