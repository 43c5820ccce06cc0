#pragma once

#include "foundation/storage/vfs/StorageProvider.hpp"
#include "machine/api.hpp"

namespace Brantix::VortanStorageSystem {

/// The storage system of the product: the provider that the component framework ranks first. The
/// bundles below `bin\win64\vfs` of the bundle root bring one for the files of this machine. Throws
/// foundation::storage::vfs::Exception, resourceNotFound at the name of the service, while none is
/// running.
REGISTRATION_API foundation::storage::vfs::StorageSystemReference GetStorageSystemReference();

}  // namespace Brantix::VortanStorageSystem
