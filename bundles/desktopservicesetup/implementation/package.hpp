#pragma once

#include <memory>

#include "bundles/desktopservicesetup/implementation/version_document.hpp"
#include "fl/filesystem/path.hpp"
#include "install/cpputil/zip_archive.hpp"

namespace desktopservicesetup {

/// Opens a package once, for all that is asked of it and taken out of it: whatever its name stands
/// for meanwhile, what was checked is what is unpacked. `announced`: what a downloaded one must
/// have; null for a shipped one.
///
/// Throws SetupFailure: packageMissing when it cannot be opened, packageRefused when others may
/// write it or it is no sound zip file, downloadRefused when it is not the file that was announced.
std::unique_ptr<install::cpputil::zip_archive> openPackage(Path const& file,
                                                           Download const* announced);

}  // namespace desktopservicesetup
