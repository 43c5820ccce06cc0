#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// What became of a call into a module.
enum class ModuleCall {
  notLoaded,     ///< no module of that name, or one that cannot be loaded
  noEntryPoint,  ///< loaded, but it exports no function of that name
  called
};

/// The search for a module led to another file than the one that it must be. It was released before
/// anything of it was called, its initialisation neither.
class OtherModule : public std::runtime_error {
 public:
  OtherModule(std::u16string_view wanted, std::u16string_view found)
      : std::runtime_error(toUtf8(found) + " was found in place of " + toUtf8(wanted)) {}
};

/// Modules: DLLs that are loaded while the program runs.
class Modules {
 public:
  virtual ~Modules() = default;
  /// Loads a module by name as LoadLibraryW finds it (the current folder among the places looked
  /// in, ".dll" added to a name without extension), calls a function that it exports,
  /// `void entryPoint(char const*, char const*, char const*)`, each argument up to its first NUL,
  /// and releases the module before it returns or throws. `file` is the absolute path of the file
  /// that it must be; its folder is searched also in a process that took the current folder from
  /// the search. Throws OtherModule, or std::runtime_error with the function's own text, never its
  /// very exception, whose code goes with the module.
  virtual ModuleCall callEntryPoint(std::u16string_view module, std::u16string_view file,
                                    std::string const& entryPoint,
                                    std::array<std::string, 3> const& arguments) = 0;
  /// Hears which DLLs of a folder the component framework is about to load as bundles, all by their
  /// absolute paths. True: it may. False on a machine that runs no foreign code; the caller then
  /// leaves them alone.
  virtual bool admitBundles(std::u16string_view folder, std::vector<UString> const& modules) = 0;
};

}  // namespace machine
