#include "machine/simulated/simulated_tasks.hpp"

#include "machine/error.hpp"
#include "machine/host/host_file.hpp"
#include "machine/task_members.hpp"
#include "machine/task_xml.hpp"

namespace machine::simulated {

namespace {

bool flagOf(JsonValue const& value) {
  if (!value.json().is_boolean()) value.refuse("must be true or false");
  return value.json().get<bool>();
}

TaskDefinition definitionOf(JsonValue const& record) {
  TaskDefinition task;
  for (auto const& [name, member] : taskTexts) task.*member = toUtf16(record.member(name).text());
  for (auto const& [name, member] : taskFlags) task.*member = flagOf(record.member(name));
  return task;
}

}  // namespace

SimulatedTasks::SimulatedTasks(JsonValue const& document) {
  for (auto const& [name, record] : document.member("tasks").members()) {
    if (task(toUtf16(name))) record.refuse("is there twice, in different case");
    try {
      createOrReplace(toUtf16(name), definitionOf(record));
      if (record.has("document")) {
        registerDocument(toUtf16(name), toUtf16(record.member("document").text()));
      }
    } catch (SystemError const&) {
      record.refuse("is no task");
    }
  }
  if (!document.has("folders")) return;
  for (auto const& folder : document.member("folders").elements()) {
    auto const name = toUtf16(folder.text());
    if (!isTaskName(name)) folder.refuse("is no task folder's name");
    for (auto const& above : taskFolders(name)) makeFolder(above);
    makeFolder(name);
  }
}

SimulatedTasks::Task* SimulatedTasks::find(std::u16string_view name) {
  auto const found = tasks_.find(foldCase(name));
  return found == tasks_.end() ? nullptr : &found->second;
}

SimulatedTasks::Task& SimulatedTasks::made(std::u16string_view name) {
  auto& task = tasks_[foldCase(name)];
  if (task.name.empty()) task.name = name;
  for (auto const& folder : taskFolders(name)) makeFolder(folder);
  return task;
}

std::optional<TaskDefinition> SimulatedTasks::task(std::u16string_view name) {
  auto const* const found = find(name);
  return found ? std::optional(found->definition) : std::nullopt;
}

void SimulatedTasks::createOrReplace(std::u16string_view name, TaskDefinition const& definition) {
  requireTask(name, definition);
  auto& task = made(name);
  task.definition = definition;
  task.document.clear();
}

std::optional<UString> SimulatedTasks::document(std::u16string_view name) {
  auto const* const found = find(name);
  if (!found) return std::nullopt;
  return found->document.empty() ? taskXml(found->definition) : found->document;
}

void SimulatedTasks::registerDocument(std::u16string_view name, std::u16string_view document) {
  auto const definition = taskFromXml(document);
  bool const accepted = isTaskName(name) && definition && isWellFormed(document);
  if (!accepted) throw SystemError("register the task", name, ErrorCode::invalidParameter);
  auto& task = made(name);
  task.definition = *definition;
  task.document = taskXml(*definition) == document ? u"" : document;
}

bool SimulatedTasks::stopAndDisable(std::u16string_view name) {
  auto* const found = find(name);
  if (!found) return false;
  found->definition.enabled = false;
  if (!found->document.empty()) found->document = disabledTaskXml(found->document);
  return true;
}

bool SimulatedTasks::remove(std::u16string_view name) {
  return tasks_.erase(foldCase(name)) != 0;
}

bool SimulatedTasks::folderExists(std::u16string_view name) {
  return folders_.contains(foldCase(name));
}

bool SimulatedTasks::removeFolder(std::u16string_view name) {
  auto const found = folders_.find(foldCase(name));
  if (found == folders_.end()) return false;
  if (hasNamesBelow(tasks_, name) || hasNamesBelow(folders_, name)) {
    throw SystemError("remove the task folder", name, ErrorCode::directoryNotEmpty);
  }
  folders_.erase(found);
  return true;
}

nlohmann::json SimulatedTasks::recordOf(Task const& task) {
  nlohmann::json record;
  for (auto const& [name, member] : taskTexts) record[name] = toUtf8(task.definition.*member);
  for (auto const& [name, member] : taskFlags) record[name] = task.definition.*member;
  if (!task.document.empty()) record["document"] = toUtf8(task.document);
  return record;
}

nlohmann::json SimulatedTasks::toJson() const {
  auto tasks = nlohmann::json::object();
  for (auto const& [folded, task] : tasks_) tasks[toUtf8(task.name)] = recordOf(task);
  nlohmann::json json = {{"tasks", std::move(tasks)}};
  for (auto const& [folded, name] : folders_) json["folders"].push_back(toUtf8(name));
  return json;
}

}  // namespace machine::simulated
