#include "Brantix/VortanStorageSystem/VortanStorageSystem.hpp"

#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "foundation/cppmicroservices/framework.hpp"
#include "foundation/storage/vfs/Exception.hpp"

namespace Brantix::VortanStorageSystem {

namespace vfs = foundation::storage::vfs;

vfs::StorageSystemReference GetStorageSystemReference() {
  auto context = foundation::cppmicroservices::getFramework().GetBundleContext();
  if (auto const reference = context.GetServiceReference<vfs::StorageProvider>()) {
    if (auto provider = context.GetService(reference)) {
      return provider;
    }
  }
  throw vfs::Exception(vfs::ErrorCode::resourceNotFound,
                       fl::i18n::to_ustring(us_service_interface_iid<vfs::StorageProvider>()),
                       "no bundle offers it");
}

}  // namespace Brantix::VortanStorageSystem
