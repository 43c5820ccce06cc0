#pragma once

#include <string>
#include <string_view>

#include "machine/shell.hpp"

namespace machine::windows {

/// Bytes of a file *.lnk and back, by the shell's own ShellLink object. `path` is for the text of
/// a SystemError.
std::string toShellLink(Shortcut const& shortcut, std::u16string_view path);
Shortcut fromShellLink(std::string_view bytes, std::u16string_view path);

}  // namespace machine::windows
