#pragma once

#if !defined(US_BUNDLE_NAME)
#error "US_BUNDLE_NAME is not defined: this header is for the sources of a bundle"
#endif

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/BundleInitialization.h"

extern "C" cppmicroservices::BundleContextPrivate* US_GET_CTX_FUNC(US_BUNDLE_NAME)();

namespace cppmicroservices {

/// The calling bundle's own context; an invalid one while the bundle is not active.
static inline BundleContext GetBundleContext() {
  auto* const context = US_GET_CTX_FUNC(US_BUNDLE_NAME)();
  return context == nullptr ? BundleContext() : MakeBundleContext(context);
}

}  // namespace cppmicroservices
