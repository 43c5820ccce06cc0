#pragma once

#include <map>
#include <utility>

#include "machine/simulated/json_file.hpp"
#include "machine/tasks.hpp"

namespace machine::simulated {

/// Scheduled tasks in memory. Nothing runs, so there is never a running instance to end.
class SimulatedTasks final : public Tasks {
 public:
  SimulatedTasks() = default;
  /// What toJson wrote. Throws std::runtime_error.
  explicit SimulatedTasks(JsonValue const& document);

  std::optional<TaskDefinition> task(std::u16string_view name) override;
  void createOrReplace(std::u16string_view name, TaskDefinition const& definition) override;
  bool stopAndDisable(std::u16string_view name) override;
  bool remove(std::u16string_view name) override;

  /// {"tasks": {"Maker\\Updater": {"application": "...", ..., "enabled": true}}}
  nlohmann::json toJson() const;

 private:
  std::map<UString, std::pair<UString, TaskDefinition>> tasks_;  // folded name -> name and task
};

}  // namespace machine::simulated
