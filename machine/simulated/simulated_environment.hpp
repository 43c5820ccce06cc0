#pragma once

#include <map>

#include "machine/environment.hpp"
#include "machine/simulated/json_file.hpp"

namespace machine::simulated {

/// Environment variables in memory, and how often the change of a setting was broadcast.
class SimulatedEnvironment final : public Environment {
 public:
  /// What a new machine holds.
  SimulatedEnvironment();
  /// What toJson wrote. Throws std::runtime_error.
  explicit SimulatedEnvironment(JsonValue const& document);

  std::optional<UString> variable(std::u16string_view name) override;
  /// Refuses what Windows does: an empty name, one with "=", a NUL; and ill-formed UTF-16.
  bool setVariable(std::u16string_view name, std::u16string_view value) override;
  bool removeVariable(std::u16string_view name) override;
  /// Counts; always 1.
  std::intptr_t broadcastSettingChange() override;
  UString account() override { return u"S-1-5-21-1-2-3-1001"; }
  std::uint32_t lastError() override { return lastError_; }

  /// {"variables": {"Path": "..."}, "settingChangeBroadcasts": 0}
  nlohmann::json toJson() const;

 private:
  std::map<UString, std::pair<UString, UString>> variables_;  // folded name -> name and value
  std::uint64_t broadcasts_ = 0;
  std::uint32_t lastError_ = 0;
};

}  // namespace machine::simulated
