#pragma once

#include "machine/files.hpp"
#include "machine/modules.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// Records what would be called; no module's code runs. A module is a file that is not empty, a
/// name without a folder looked for in the current folder only. It exports the names that stand in
/// the file between NULs or line ends: a DLL keeps them so in its export table, and a text file
/// with a name on each line does for a module.
class SimulatedModules final : public Modules {
 public:
  /// Modules are files in `files`, which must outlive this object.
  explicit SimulatedModules(Files& files) : files_(files) {}
  /// Takes over what toJson wrote. Throws std::runtime_error.
  void readCalls(JsonValue const& document);

  ModuleCall callEntryPoint(std::u16string_view module, std::string const& entryPoint,
                            std::array<std::string, 3> const& arguments) override;

  /// {"calls": [{"module": "C:\\x\\server.dll", "entryPoint": "...", "arguments": []}]}, in order.
  nlohmann::json toJson() const { return {{"calls", calls_}}; }

 private:
  Files& files_;
  nlohmann::json calls_ = nlohmann::json::array();
};

}  // namespace machine::simulated
