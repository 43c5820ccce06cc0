#pragma once

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

/// What a bundle does at its start and its stop. When either throws, the framework unregisters the
/// bundle's services and the bundle is not active.
class BundleActivator {
 public:
  virtual ~BundleActivator() = default;
  virtual void Start(BundleContext context) = 0;
  virtual void Stop(BundleContext context) = 0;
};

}  // namespace cppmicroservices

/// Stands once in a bundle's source, after the activator. The build defines US_BUNDLE_NAME as the
/// bundle's symbolic name.
#define CPPMICROSERVICES_EXPORT_BUNDLE_ACTIVATOR(type)                                  \
  extern "C" US_ABI_EXPORT cppmicroservices::BundleActivator* US_CREATE_ACTIVATOR_FUNC( \
      US_BUNDLE_NAME)();                                                                \
  extern "C" US_ABI_EXPORT cppmicroservices::BundleActivator* US_CREATE_ACTIVATOR_FUNC( \
      US_BUNDLE_NAME)() {                                                               \
    return new type();                                                                  \
  }                                                                                     \
  extern "C" US_ABI_EXPORT void US_DESTROY_ACTIVATOR_FUNC(US_BUNDLE_NAME)(              \
      cppmicroservices::BundleActivator * activator);                                   \
  extern "C" US_ABI_EXPORT void US_DESTROY_ACTIVATOR_FUNC(US_BUNDLE_NAME)(              \
      cppmicroservices::BundleActivator * activator) {                                  \
    delete activator;                                                                   \
  }
