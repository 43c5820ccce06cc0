#pragma once

#include <vector>

#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/StorageProvider.hpp"

namespace Brantix::PathManagement {

/// Appends the folder `toolbox` and those below it, each that holds a Vortan source file (".vt"), a
/// folder before those in it, these in the order of their names. Links are not entered. A folder
/// that may not be listed, that is gone meanwhile or that has no IRI is a warning; any other
/// failure is an Exception.
void addToolboxFolders(foundation::storage::vfs::AbsoluteIRI const& toolbox,
                       foundation::storage::vfs::StorageSystemReference const& storage,
                       std::vector<foundation::storage::vfs::AbsoluteIRI>& entries,
                       foundation::core::except::Notification& notification);

}  // namespace Brantix::PathManagement
