#include "machine/overlay/overlay_parts.hpp"

#include <algorithm>

#include "machine/path_grammar.hpp"
#include "machine/service_rules.hpp"
#include "machine/task_xml.hpp"

namespace machine::overlay {

namespace {

constexpr std::uint32_t variableNotFound = 203;  // ERROR_ENVVAR_NOT_FOUND
constexpr std::intptr_t broadcastSucceeded = 1;

bool hasNul(std::u16string_view text) {
  return text.find(u'\0') != text.npos;
}

bool isVariable(std::u16string_view name, std::u16string_view value) {
  return !name.empty() && name.find(u'=') == name.npos && !hasNul(name) && !hasNul(value);
}

}  // namespace

std::optional<UString> OverlayEnvironment::variable(std::u16string_view name) {
  auto const changed = changed_.find(foldCase(name));
  if (changed == changed_.end()) {
    auto value = inner_.variable(name);
    lastError_ = inner_.lastError();
    return value;
  }
  lastError_ = changed->second ? 0 : variableNotFound;
  return changed->second;
}

bool OverlayEnvironment::setVariable(std::u16string_view name, std::u16string_view value) {
  bool const accepted = isVariable(name, value);
  lastError_ = accepted ? 0 : static_cast<std::uint32_t>(ErrorCode::invalidParameter);
  if (accepted) changed_[foldCase(name)] = UString(value);
  return accepted;
}

bool OverlayEnvironment::removeVariable(std::u16string_view name) {
  if (variable(name)) changed_[foldCase(name)] = std::nullopt;
  lastError_ = 0;
  return true;
}

std::intptr_t OverlayEnvironment::broadcastSettingChange() {
  lastError_ = 0;
  return broadcastSucceeded;
}

std::optional<Shortcut> OverlayShell::readShortcut(std::u16string_view path) {
  auto const inner = files_.innerFile(path);
  return inner ? inner_.readShortcut(*inner) : written_.readShortcut(path);
}

ModuleCall OverlayModules::callEntryPoint(std::u16string_view module, std::u16string_view file,
                                          std::string const& entryPoint,
                                          std::array<std::string, 3> const& arguments) {
  if (module.empty() || hasNul(module)) return ModuleCall::notLoaded;
  if (path_grammar::rootLength(module) > 0)
    return search_.callEntryPoint(module, file, entryPoint, arguments);
  for (auto const& folder : folders()) {
    auto const outcome =
        search_.callEntryPoint(path_grammar::join(folder, module), file, entryPoint, arguments);
    if (outcome != ModuleCall::notLoaded) return outcome;
  }
  return ModuleCall::notLoaded;
}

std::vector<UString> OverlayModules::folders() {
  std::vector<UString> result{shell_.knownFolder(KnownFolder::system)};
  if (auto windows = environment_.variable(u"SystemRoot")) result.push_back(std::move(*windows));
  result.push_back(files_.currentDirectory());
  auto const path = environment_.variable(u"PATH").value_or(u"");
  for (std::size_t at = 0; at <= path.size();) {
    auto const end = std::min(path.find(u';', at), path.size());
    if (path_grammar::isAbsolute(path.substr(at, end - at)))
      result.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  return result;
}

std::optional<TaskDefinition> OverlayTasks::task(std::u16string_view name) {
  auto const changed = changed_.find(foldCase(name));
  if (changed == changed_.end()) return inner_.task(name);
  return changed->second ? std::optional(changed->second->definition) : std::nullopt;
}

void OverlayTasks::createOrReplace(std::u16string_view name, TaskDefinition const& definition) {
  requireTask(name, definition);
  set(name, {definition, taskXml(definition)});
}

std::optional<UString> OverlayTasks::document(std::u16string_view name) {
  auto const changed = changed_.find(foldCase(name));
  if (changed == changed_.end()) return inner_.document(name);
  return changed->second ? std::optional(changed->second->document) : std::nullopt;
}

void OverlayTasks::registerDocument(std::u16string_view name, std::u16string_view document) {
  auto const definition = taskFromXml(document);
  if (!isTaskName(name) || !definition) {
    throw SystemError("register the task", name, ErrorCode::invalidParameter);
  }
  set(name, {*definition, UString(document)});
}

bool OverlayTasks::stopAndDisable(std::u16string_view name) {
  auto definition = task(name);
  auto const kept = document(name);
  if (!definition || !kept) return false;
  definition->enabled = false;
  changed_[foldCase(name)] = Task{*std::move(definition), disabledTaskXml(*kept)};
  return true;
}

bool OverlayTasks::remove(std::u16string_view name) {
  if (!task(name)) return false;
  changed_[foldCase(name)] = std::nullopt;
  return true;
}

void OverlayTasks::set(std::u16string_view name, Task task) {
  for (auto const& folder : taskFolders(name)) {
    if (!folderExists(folder)) folders_.emplace(foldCase(folder), folder);
  }
  changed_[foldCase(name)] = std::move(task);
}

bool OverlayTasks::folderExists(std::u16string_view name) {
  return folders_.contains(foldCase(name)) || inner_.folderExists(name);
}

bool OverlayTasks::removeFolder(std::u16string_view name) {
  constexpr auto operation = "remove the task folder";
  auto const made = folders_.find(foldCase(name));
  if (made == folders_.end()) {
    if (!inner_.folderExists(name)) return false;
    throw SystemError(operation, name, ErrorCode::notSupported);
  }
  bool const hasTasks = std::ranges::any_of(changed_, [&](auto const& task) {
    return task.second && task.first.starts_with(made->first + u'\\');
  });
  if (hasTasks || hasNamesBelow(folders_, name)) {
    throw SystemError(operation, name, ErrorCode::directoryNotEmpty);
  }
  folders_.erase(made);
  return true;
}

OverlayServices::Service OverlayServices::now(std::u16string_view name) {
  auto const changed = changed_.find(foldCase(name));
  if (changed != changed_.end()) return changed->second;
  auto const definition = inner_.definition(name);
  auto const state = inner_.state(name);
  if (!definition || !state) return {};
  return {ServiceCondition{*definition, *state}, false};
}

OverlayServices::Service OverlayServices::existing(std::string_view operation,
                                                   std::u16string_view name) {
  auto service = now(name);
  if (!service.condition) throw missingService(operation, name);
  return service;
}

std::optional<ServiceDefinition> OverlayServices::definition(std::u16string_view name) {
  auto const changed = changed_.find(foldCase(name));
  if (changed == changed_.end()) return inner_.definition(name);
  auto const& condition = changed->second.condition;
  return condition ? std::optional(condition->definition) : std::nullopt;
}

std::optional<ServiceState> OverlayServices::state(std::u16string_view name) {
  auto const changed = changed_.find(foldCase(name));
  if (changed == changed_.end()) return inner_.state(name);
  auto const& condition = changed->second.condition;
  return condition ? std::optional(condition->state) : std::nullopt;
}

void OverlayServices::set(std::u16string_view name, ServiceDefinition const& definition) {
  requireService(name, definition);
  auto const before = now(name).condition;
  auto const state = before ? before->state : ServiceState::stopped;
  changed_[foldCase(name)] = {ServiceCondition{definition, state}, true};
}

bool OverlayServices::remove(std::u16string_view name) {
  if (!now(name).condition) return false;
  changed_[foldCase(name)] = {};
  return true;
}

void OverlayServices::start(std::u16string_view name, std::chrono::milliseconds) {
  auto service = existing("start the service", name);
  if (service.condition->state == ServiceState::running) return;
  requireEnabled(name, service.condition->definition);
  if (service.wasSet) requireProgram(name, service.condition->definition, files_);
  service.condition->state = ServiceState::running;
  changed_[foldCase(name)] = std::move(service);
}

void OverlayServices::stop(std::u16string_view name, std::chrono::milliseconds) {
  auto service = existing("stop the service", name);
  if (service.condition->state == ServiceState::stopped) return;
  service.condition->state = ServiceState::stopped;
  changed_[foldCase(name)] = std::move(service);
}

std::uint32_t NoDownloads::get(std::u16string_view url, DownloadLimits const&, Sink const&) {
  throw SystemError("download", url, static_cast<std::uint32_t>(ErrorCode::notSupported),
                    "A preview downloads nothing.");
}

}  // namespace machine::overlay
