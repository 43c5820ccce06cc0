#pragma once

#include <memory>

#include "bundles/localstorage/local_storage.hpp"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "foundation/cppmicroservices/framework.hpp"

namespace tests {

/// Offers the provider of this machine's files, or another, in its bundle's stead while it lives.
class OfferedStorage {
 public:
  using StorageProvider = foundation::storage::vfs::StorageProvider;

  explicit OfferedStorage(
      std::shared_ptr<StorageProvider> provider = std::make_shared<localstorage::LocalStorage>())
      : registration_(foundation::cppmicroservices::getFramework()
                          .GetBundleContext()
                          .RegisterService<StorageProvider>(provider)) {}
  ~OfferedStorage() { registration_.Unregister(); }
  OfferedStorage(OfferedStorage const&) = delete;
  OfferedStorage& operator=(OfferedStorage const&) = delete;

 private:
  cppmicroservices::ServiceRegistration<StorageProvider> registration_;
};

}  // namespace tests
