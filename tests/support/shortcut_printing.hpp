#pragma once

#include <ostream>

#include "machine/shell.hpp"

namespace machine {

/// Lets GoogleTest print shortcuts readably.
inline void PrintTo(Shortcut const& shortcut, std::ostream* out) {
  *out << toUtf8(shortcut.target) << "\n  arguments " << toUtf8(shortcut.arguments) << "\n  in "
       << toUtf8(shortcut.workingFolder) << "\n  description " << toUtf8(shortcut.description)
       << "\n  icon " << toUtf8(shortcut.iconFile) << " " << shortcut.iconIndex << "\n  window "
       << static_cast<int>(shortcut.window) << (shortcut.runAsAdministrator ? " elevated" : "")
       << (shortcut.neverSearchForTarget ? " never searched for" : "");
}

}  // namespace machine
