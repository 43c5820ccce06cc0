#pragma once

#include <map>
#include <utility>

#include "machine/simulated/json_file.hpp"
#include "machine/tasks.hpp"

namespace machine::simulated {

/// Scheduled tasks in memory. A task's document is kept as it is when it says more than a
/// TaskDefinition. Nothing runs, so there is never a running instance to end.
class SimulatedTasks final : public Tasks {
 public:
  SimulatedTasks() = default;
  /// What toJson wrote. Throws std::runtime_error.
  explicit SimulatedTasks(JsonValue const& document);

  std::optional<TaskDefinition> task(std::u16string_view name) override;
  void createOrReplace(std::u16string_view name, TaskDefinition const& definition) override;
  std::optional<UString> document(std::u16string_view name) override;
  void registerDocument(std::u16string_view name, std::u16string_view document) override;
  bool stopAndDisable(std::u16string_view name) override;
  bool remove(std::u16string_view name) override;
  bool folderExists(std::u16string_view name) override;
  bool removeFolder(std::u16string_view name) override;

  /// {"tasks": {"Maker\\Updater": {"application": "...", ..., "enabled": true}}};
  /// "document" too for a task that is more than its definition; "folders": [...] beside "tasks"
  /// when there are task folders.
  nlohmann::json toJson() const;

 private:
  struct Task {
    UString name;
    TaskDefinition definition;
    UString document;  ///< empty: taskXml(definition)
  };

  static nlohmann::json recordOf(Task const& task);
  Task* find(std::u16string_view name);
  Task& made(std::u16string_view name);
  void makeFolder(UString const& name) { folders_.try_emplace(foldCase(name), name); }

  std::map<UString, Task> tasks_;       // by folded name
  std::map<UString, UString> folders_;  // the same; the names
};

}  // namespace machine::simulated
