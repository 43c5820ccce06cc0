#include "machine/simulated/simulated_tasks.hpp"

#include "machine/error.hpp"

namespace machine::simulated {

namespace {

constexpr std::pair<char const*, UString TaskDefinition::*> texts[] = {
    {"application", &TaskDefinition::application},
    {"arguments", &TaskDefinition::arguments},
    {"workingFolder", &TaskDefinition::workingFolder},
    {"description", &TaskDefinition::description},
    {"author", &TaskDefinition::author},
    {"group", &TaskDefinition::group},
};

constexpr std::pair<char const*, bool TaskDefinition::*> flags[] = {
    {"startsAtLogon", &TaskDefinition::startsAtLogon},
    {"highestRunLevel", &TaskDefinition::highestRunLevel},
    {"enabled", &TaskDefinition::enabled},
};

bool flagOf(JsonValue const& value) {
  if (!value.json().is_boolean()) value.refuse("must be true or false");
  return value.json().get<bool>();
}

TaskDefinition definitionOf(JsonValue const& record) {
  TaskDefinition task;
  for (auto const& [name, member] : texts) task.*member = toUtf16(record.member(name).text());
  for (auto const& [name, member] : flags) task.*member = flagOf(record.member(name));
  return task;
}

nlohmann::json recordOf(TaskDefinition const& task) {
  nlohmann::json record;
  for (auto const& [name, member] : texts) record[name] = toUtf8(task.*member);
  for (auto const& [name, member] : flags) record[name] = task.*member;
  return record;
}

}  // namespace

SimulatedTasks::SimulatedTasks(JsonValue const& document) {
  for (auto const& [name, record] : document.member("tasks").members()) {
    if (task(toUtf16(name))) record.refuse("is there twice, in different case");
    try {
      createOrReplace(toUtf16(name), definitionOf(record));
    } catch (SystemError const&) {
      record.refuse("is no task");
    }
  }
}

std::optional<TaskDefinition> SimulatedTasks::task(std::u16string_view name) {
  auto const found = tasks_.find(foldCase(name));
  if (found == tasks_.end()) return std::nullopt;
  return found->second.second;
}

void SimulatedTasks::createOrReplace(std::u16string_view name, TaskDefinition const& definition) {
  requireTask(name, definition);
  auto& [keptName, keptDefinition] = tasks_[foldCase(name)];
  if (keptName.empty()) keptName = name;
  keptDefinition = definition;
}

bool SimulatedTasks::stopAndDisable(std::u16string_view name) {
  auto const found = tasks_.find(foldCase(name));
  if (found == tasks_.end()) return false;
  found->second.second.enabled = false;
  return true;
}

bool SimulatedTasks::remove(std::u16string_view name) {
  return tasks_.erase(foldCase(name)) != 0;
}

nlohmann::json SimulatedTasks::toJson() const {
  auto tasks = nlohmann::json::object();
  for (auto const& [folded, task] : tasks_) tasks[toUtf8(task.first)] = recordOf(task.second);
  return {{"tasks", std::move(tasks)}};
}

}  // namespace machine::simulated
