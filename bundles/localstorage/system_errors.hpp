#pragma once

#include "foundation/storage/vfs/Exception.hpp"
#include "machine/error.hpp"

namespace localstorage {

/// What a failed system call means to the virtual file system; unknownError for what it does not
/// know.
foundation::storage::vfs::ErrorCode errorCodeFor(machine::SystemError const& failure);

}  // namespace localstorage
