#pragma once

#include "bundles/desktopservicesetup/implementation/version_document.hpp"
#include "fl/filesystem/path.hpp"
#include "machine/downloads.hpp"

namespace desktopservicesetup {

/// Downloads to `file`, whose folder is made when missing. The file appears, or replaces an old
/// one, only when size and hash are what was announced; nothing partial stays. Throws SetupFailure.
void downloadTo(Path const& file, Download const& what, machine::DownloadLimits const& limits);

}  // namespace desktopservicesetup
