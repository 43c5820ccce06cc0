#pragma once

#include <map>

#include "machine/files.hpp"
#include "machine/processes.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// Records what would be started; nothing runs. A child ends at once with the exit code that was
/// set for its program, else 0, and writes nothing: its reader gets nothing, its file is made. The
/// shell opens every file.
class SimulatedProcesses final : public Processes {
 public:
  /// Programs must exist in `files`, which must outlive this object.
  explicit SimulatedProcesses(Files& files) : files_(files) {}
  /// Takes over what toJson wrote; files of before have no "shellExecuted". Throws
  /// std::runtime_error.
  void readLaunched(JsonValue const& document);
  /// {"exitCodes": {"C:\\x\\tool.exe": 3, "regsvr32.exe": 5}}. Throws std::runtime_error.
  void readExitCodes(JsonValue const& document);

  std::unique_ptr<ChildProcess> start(ProcessStart const& what) override;
  bool shellExecute(std::u16string_view program, std::u16string_view parameters) override;

  /// `program` is an absolute path, or a file name for all programs of that name.
  void setExitCode(std::u16string_view program, std::uint32_t code);

  /// {"launched": [{"program": "...", "arguments": [], "noWindow": false, ...}],
  ///  "shellExecuted": [{"program": "...", "parameters": "..."}]}, each in order.
  nlohmann::json toJson() const {
    return {{"launched", launched_}, {"shellExecuted", shellExecuted_}};
  }

 private:
  std::uint32_t exitCode(std::u16string_view program) const;
  void makeOutputFile(ProcessOutput const& output);

  Files& files_;
  nlohmann::json launched_ = nlohmann::json::array();
  nlohmann::json shellExecuted_ = nlohmann::json::array();
  std::map<UString, std::uint32_t> exitCodes_;  // by folded path or name
};

}  // namespace machine::simulated
