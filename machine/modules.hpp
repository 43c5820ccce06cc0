#pragma once

#include <array>
#include <string>
#include <string_view>

#include "machine/api.hpp"
#include "machine/unicode.hpp"

namespace machine {

/// What became of a call into a module.
enum class ModuleCall {
  notLoaded,     ///< no module of that name, or one that cannot be loaded
  noEntryPoint,  ///< loaded, but it exports no function of that name
  called
};

/// Modules: DLLs that are loaded while the program runs.
class Modules {
 public:
  virtual ~Modules() = default;
  /// Loads a module by name as LoadLibraryW finds it (the current folder among the places looked
  /// in, ".dll" added to a name without extension), calls a function that it exports,
  /// `void entryPoint(char const*, char const*, char const*)`, each argument up to its first NUL,
  /// and releases the module before it returns or throws. Throws std::runtime_error with the
  /// function's own text, never its very exception, whose code goes with the module.
  virtual ModuleCall callEntryPoint(std::u16string_view module, std::string const& entryPoint,
                                    std::array<std::string, 3> const& arguments) = 0;
};

}  // namespace machine
