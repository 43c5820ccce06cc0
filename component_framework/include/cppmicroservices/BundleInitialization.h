#pragma once

#include <atomic>

#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {
class BundleContextPrivate;
}

/// Makes the bundle's context known to its own code (GetBundleContext). Stands once in a bundle;
/// the build adds a source file with it.
#define CPPMICROSERVICES_INITIALIZE_BUNDLE                                                  \
  static std::atomic<cppmicroservices::BundleContextPrivate*> US_CTX_INS(US_BUNDLE_NAME){}; \
  extern "C" cppmicroservices::BundleContextPrivate* US_GET_CTX_FUNC(US_BUNDLE_NAME)();     \
  extern "C" cppmicroservices::BundleContextPrivate* US_GET_CTX_FUNC(US_BUNDLE_NAME)() {    \
    return US_CTX_INS(US_BUNDLE_NAME).load();                                               \
  }                                                                                         \
  extern "C" US_ABI_EXPORT void US_SET_CTX_FUNC(US_BUNDLE_NAME)(                            \
      cppmicroservices::BundleContextPrivate * context);                                    \
  extern "C" US_ABI_EXPORT void US_SET_CTX_FUNC(US_BUNDLE_NAME)(                            \
      cppmicroservices::BundleContextPrivate * context) {                                   \
    US_CTX_INS(US_BUNDLE_NAME).store(context);                                              \
  }
