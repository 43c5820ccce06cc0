#pragma once

#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Installs and starts the bundles in `bin\win64\<name>` below the bundle root, made native; below
/// the current folder when there is no bundle root. Throws as
/// foundation::cppmicroservices::installAndStart does.
void startBundles(utility::Options const& options, UString const& name);

}  // namespace registration::commands
