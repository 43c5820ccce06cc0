#pragma once

#include "machine/files.hpp"
#include "machine/modules.hpp"
#include "machine/shell.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// Records what would be called and which bundles would be loaded; no module's code runs. A module
/// is a file that is not empty, a name without a folder looked for in the system folder, then in
/// the current one. It exports the names that stand in the file between NULs or line ends: a DLL
/// keeps them so in its export table, and a text file with a name on each line does for a module.
class SimulatedModules final : public Modules {
 public:
  /// Modules are files in `files`, the system folder is the one of `shell`; both must outlive this
  /// object.
  SimulatedModules(Files& files, Shell& shell) : files_(files), shell_(shell) {}
  /// Takes over what toJson wrote. Throws std::runtime_error.
  void readCalls(JsonValue const& document);

  ModuleCall callEntryPoint(std::u16string_view module, std::u16string_view file,
                            std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override;

  /// Always false.
  bool admitBundles(std::u16string_view folder, std::vector<UString> const& modules) override;

  /// {"calls": [{"module": "C:\\x\\server.dll", "entryPoint": "...", "arguments": []}],
  ///  "bundles": [{"folder": "C:\\x", "modules": ["C:\\x\\a.dll"]}]}, each in order.
  nlohmann::json toJson() const { return {{"calls", calls_}, {"bundles", bundles_}}; }

 private:
  struct Found {
    UString path;
    ModuleCall call = ModuleCall::notLoaded;  ///< what a call would come to
  };
  Found find(std::u16string_view module, std::string const& entryPoint);

  Files& files_;
  Shell& shell_;
  nlohmann::json calls_ = nlohmann::json::array();
  nlohmann::json bundles_ = nlohmann::json::array();
};

}  // namespace machine::simulated
