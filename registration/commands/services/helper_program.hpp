#pragma once

#include <string>
#include <vector>

#include "foundation/core/process.hpp"
#include "registration/utility/types.hpp"

namespace registration::commands {

/// Starts a helper program of the product: no window, its output and errors discarded, not detached
/// from the caller. UTF-8 arguments. Throws when it cannot be started.
foundation::core::process::process startHelper(Path const& executable,
                                               std::vector<std::string> const& arguments);

}  // namespace registration::commands
