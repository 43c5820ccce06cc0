#include "benchmarks/native_shortcuts.hpp"

#include <string>

#include "machine/machine.hpp"

namespace benchmarks {

/// Without shell links of its own the host writes the simulated machine's.
void nativeShortcuts(fl::filesystem::Path const& folder, int count) {
  machine::Shortcut shortcut;
  shortcut.target = u"C:\\Program Files\\Vortan\\bin\\win64\\vortan.exe";
  shortcut.workingFolder = u"C:\\Program Files\\Vortan\\bin\\win64";
  shortcut.arguments = u"-start";
  shortcut.description = u"Starts Vortan";
  for (int i = 0; i < count; ++i) {
    auto const path = folder / fl::i18n::to_ustring(std::to_string(i) + ".lnk");
    machine::current().shell().writeShortcut(path.ustring(), shortcut);
  }
}

}  // namespace benchmarks
