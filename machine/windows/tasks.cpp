#include <windows.h>

#include <oleauto.h>
#include <taskschd.h>

#include <new>

#include "machine/error.hpp"
#include "machine/task_xml.hpp"
#include "machine/windows/com.hpp"
#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using UniqueBstr = std::unique_ptr<OLECHAR, ReleaseWith<SysFreeString>>;

UniqueBstr toBstr(std::u16string_view text) {
  UniqueBstr result(SysAllocStringLen(reinterpret_cast<OLECHAR const*>(text.data()),
                                      static_cast<UINT>(text.size())));
  if (!result) {
    throw std::bad_alloc();
  }
  return result;
}

/// The object that `call` stores; null when it fails, for the scheduler leaves out of a task what
/// the task has not.
template <class Interface, class Call>
UniqueCom<Interface> objectOrNull(Call call) {
  Interface* object = nullptr;
  return UniqueCom<Interface>(SUCCEEDED(call(&object)) ? object : nullptr);
}

/// The text that `call` stores; empty when it fails.
template <class Call>
UString textOrEmpty(Call call) {
  BSTR text = nullptr;
  HRESULT const result = call(&text);
  UniqueBstr const owner(text);
  return SUCCEEDED(result) && text ? UString(unitsOf(text)) : UString();
}

bool meansNoSuchTask(HRESULT result) {
  return result == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) ||
         result == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
}

/// The folder that a task of this name lies in; empty for the topmost.
std::u16string_view folderOf(std::u16string_view name) {
  auto const separator = name.rfind(u'\\');
  return name.substr(0, separator == name.npos ? 0 : separator);
}

std::u16string_view lastComponent(std::u16string_view name) {
  return name.substr(name.rfind(u'\\') + 1);  // npos + 1 is 0
}

/// The scheduler for the length of one operation on one task.
class Scheduler {
 public:
  Scheduler(std::string_view operation, std::u16string_view name)
      : operation_(operation), name_(name) {
    service_ = interfaceFrom<ITaskService>(operation, name, [](void** object) {
      return CoCreateInstance(__uuidof(TaskScheduler), nullptr, CLSCTX_INPROC_SERVER,
                              __uuidof(ITaskService), object);
    });
    require(connect());
  }

  void require(HRESULT result) const { requireSuccess(result, operation_, name_); }

  /// Connecting starts the scheduler's service when it is not running and waits a few seconds for
  /// it, which a machine that has just started, or is busy, may need more than once.
  HRESULT connect() const {
    constexpr int attempts = 4;
    VARIANT const here{};
    HRESULT result = service_->Connect(here, here, here, here);
    for (int i = 1; i < attempts && result == SCHED_E_SERVICE_NOT_RUNNING; ++i) {
      result = service_->Connect(here, here, here, here);
    }
    return result;
  }

  /// Null when there is no such folder.
  UniqueCom<ITaskFolder> folder(std::u16string_view name) const {
    ITaskFolder* found = nullptr;
    HRESULT const result = service_->GetFolder(toBstr(u"\\" + UString(name)).get(), &found);
    // The second is Wine's answer when it is a task's name.
    if (meansNoSuchTask(result) || result == HRESULT_FROM_WIN32(ERROR_INVALID_NAME)) {
      return nullptr;
    }
    require(result);
    return UniqueCom<ITaskFolder>(found);
  }

  /// A task's document, read.
  UniqueCom<ITaskDefinition> parsed(BSTR document) const {
    ITaskDefinition* made = nullptr;
    require(service_->NewTask(0, &made));
    UniqueCom<ITaskDefinition> definition(made);
    require(definition->put_XmlText(document));
    return definition;
  }

  /// The one that the task lies in.
  UniqueCom<ITaskFolder> folder() const { return folder(folderOf(name_)); }

  UniqueCom<ITaskFolder> topmostFolder() const {
    ITaskFolder* found = nullptr;
    require(service_->GetFolder(toBstr(u"\\").get(), &found));
    return UniqueCom<ITaskFolder>(found);
  }

  UniqueCom<ITaskFolder> folderMadeWhenMissing() const {
    auto existing = folder();
    return existing ? std::move(existing) : makeFolders();
  }

  /// Null when there is no such task.
  UniqueCom<IRegisteredTask> task() const {
    auto const in = folder();
    if (!in) {
      return nullptr;
    }
    IRegisteredTask* found = nullptr;
    HRESULT const result = in->GetTask(toBstr(lastComponent(name_)).get(), &found);
    if (meansNoSuchTask(result)) {
      return nullptr;
    }
    require(result);
    return UniqueCom<IRegisteredTask>(found);
  }

 private:
  UniqueCom<ITaskFolder> makeFolders() const {
    auto const root = topmostFolder();
    for (auto const& path : taskFolders(name_)) {
      makeFolder(*root, path);
    }
    auto made = folder();
    if (!made) {
      throw SystemError(operation_, name_, ErrorCode::pathNotFound);
    }
    return made;
  }

  void makeFolder(ITaskFolder& root, std::u16string_view path) const {
    HRESULT const result = root.CreateFolder(toBstr(path).get(), VARIANT{}, nullptr);
    if (result != HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS)) {
      require(result);
    }
  }

  ComScope com_;
  std::string_view operation_;
  std::u16string_view name_;
  UniqueCom<ITaskService> service_;
};

/// The first of the task's actions that starts a program.
UniqueCom<IExecAction> firstProgram(ITaskDefinition& definition) {
  auto const actions =
      objectOrNull<IActionCollection>([&](auto** out) { return definition.get_Actions(out); });
  LONG count = 0;
  if (!actions || FAILED(actions->get_Count(&count))) {
    return nullptr;
  }
  for (LONG i = 1; i <= count; ++i) {
    auto const action =
        objectOrNull<IAction>([&](auto** out) { return actions->get_Item(i, out); });
    auto program = objectOrNull<IExecAction>([&](auto** out) {
      return action ? action->QueryInterface(__uuidof(IExecAction), reinterpret_cast<void**>(out))
                    : E_POINTER;
    });
    if (program) {
      return program;
    }
  }
  return nullptr;
}

bool hasLogonTrigger(ITaskDefinition& definition) {
  auto const triggers =
      objectOrNull<ITriggerCollection>([&](auto** out) { return definition.get_Triggers(out); });
  LONG count = 0;
  if (!triggers || FAILED(triggers->get_Count(&count))) {
    return false;
  }
  for (LONG i = 1; i <= count; ++i) {
    auto const trigger =
        objectOrNull<ITrigger>([&](auto** out) { return triggers->get_Item(i, out); });
    TASK_TRIGGER_TYPE2 type = TASK_TRIGGER_EVENT;
    if (trigger && SUCCEEDED(trigger->get_Type(&type)) && type == TASK_TRIGGER_LOGON) {
      return true;
    }
  }
  return false;
}

void readRegistration(ITaskDefinition& definition, TaskDefinition& task) {
  auto const info = objectOrNull<IRegistrationInfo>(
      [&](auto** out) { return definition.get_RegistrationInfo(out); });
  if (!info) {
    return;
  }
  // Where the scheduler keeps no actions; see taskXml.
  task.application = textOrEmpty([&](BSTR* out) { return info->get_Source(out); });
  task.author = textOrEmpty([&](BSTR* out) { return info->get_Author(out); });
  task.description = textOrEmpty([&](BSTR* out) { return info->get_Description(out); });
}

void readProgram(ITaskDefinition& definition, TaskDefinition& task) {
  auto const program = firstProgram(definition);
  if (!program) {
    return;
  }
  task.application = textOrEmpty([&](BSTR* out) { return program->get_Path(out); });
  task.arguments = textOrEmpty([&](BSTR* out) { return program->get_Arguments(out); });
  task.workingFolder = textOrEmpty([&](BSTR* out) { return program->get_WorkingDirectory(out); });
}

void readPrincipal(ITaskDefinition& definition, TaskDefinition& task) {
  task.group.clear();
  task.highestRunLevel = false;
  auto const principal =
      objectOrNull<IPrincipal>([&](auto** out) { return definition.get_Principal(out); });
  if (!principal) {
    return;
  }
  task.group = textOrEmpty([&](BSTR* out) { return principal->get_GroupId(out); });
  TASK_RUNLEVEL_TYPE level = TASK_RUNLEVEL_LUA;
  task.highestRunLevel =
      SUCCEEDED(principal->get_RunLevel(&level)) && level == TASK_RUNLEVEL_HIGHEST;
}

/// How the account that a definition names logs on.
TASK_LOGON_TYPE logonTypeOf(ITaskDefinition& definition) {
  auto const principal =
      objectOrNull<IPrincipal>([&](auto** out) { return definition.get_Principal(out); });
  if (!principal) {
    return TASK_LOGON_NONE;
  }
  if (!textOrEmpty([&](BSTR* out) { return principal->get_GroupId(out); }).empty()) {
    return TASK_LOGON_GROUP;
  }
  TASK_LOGON_TYPE type = TASK_LOGON_NONE;
  return SUCCEEDED(principal->get_LogonType(&type)) ? type : TASK_LOGON_NONE;
}

bool isEnabled(Scheduler const& scheduler, IRegisteredTask& task) {
  VARIANT_BOOL enabled = VARIANT_FALSE;
  scheduler.require(task.get_Enabled(&enabled));
  return enabled != VARIANT_FALSE;
}

UniqueCom<ITaskDefinition> definitionOf(Scheduler const& scheduler, IRegisteredTask& task) {
  ITaskDefinition* definition = nullptr;
  scheduler.require(task.get_Definition(&definition));
  return UniqueCom<ITaskDefinition>(definition);
}

/// Registers the task again with nothing but its setting changed. Wine's put_Enabled reports
/// success and does nothing.
void registerDisabled(Scheduler const& scheduler, IRegisteredTask& task,
                      std::u16string_view lastName) {
  auto const definition = definitionOf(scheduler, task);
  ITaskSettings* found = nullptr;
  scheduler.require(definition->get_Settings(&found));
  UniqueCom<ITaskSettings> const settings(found);
  scheduler.require(settings->put_Enabled(VARIANT_FALSE));
  TASK_LOGON_TYPE logonType = TASK_LOGON_NONE;
  if (auto const principal =
          objectOrNull<IPrincipal>([&](auto** out) { return definition->get_Principal(out); })) {
    principal->get_LogonType(&logonType);
  }
  auto const folder = scheduler.folder();
  if (!folder) {
    return;
  }
  auto const registered = objectOrNull<IRegisteredTask>([&](auto** out) {
    HRESULT const result =
        folder->RegisterTaskDefinition(toBstr(lastName).get(), definition.get(), TASK_UPDATE,
                                       VARIANT{}, VARIANT{}, logonType, VARIANT{}, out);
    scheduler.require(result);
    return result;
  });
}

void disable(Scheduler const& scheduler, std::u16string_view name, IRegisteredTask& task) {
  scheduler.require(task.put_Enabled(VARIANT_FALSE));
  auto now = scheduler.task();
  if (now && isEnabled(scheduler, *now)) {
    registerDisabled(scheduler, *now, lastComponent(name));
    now = scheduler.task();
  }
  if (now && isEnabled(scheduler, *now)) {
    throw SystemError("disable the task", name, ErrorCode::notSupported);
  }
}

/// Ends all running instances. Wine runs no tasks and has no such call.
void endInstances(Scheduler const& scheduler, IRegisteredTask& task) {
  HRESULT const result = task.Stop(0);
  if (result != E_NOTIMPL && result != SCHED_E_TASK_NOT_RUNNING) {
    scheduler.require(result);
  }
}

class WindowsTasks final : public Tasks {
 public:
  std::optional<TaskDefinition> task(std::u16string_view name) override {
    if (!isTaskName(name)) {
      return std::nullopt;
    }
    Scheduler const scheduler("look for the task", name);
    auto const found = scheduler.task();
    if (!found) {
      return std::nullopt;
    }
    auto const definition = definitionOf(scheduler, *found);
    TaskDefinition task;
    readRegistration(*definition, task);
    readProgram(*definition, task);
    readPrincipal(*definition, task);
    task.startsAtLogon = hasLogonTrigger(*definition);
    task.enabled = isEnabled(scheduler, *found);
    return task;
  }

  void createOrReplace(std::u16string_view name, TaskDefinition const& definition) override {
    requireTask(name, definition);
    Scheduler const scheduler("create the task", name);
    auto const folder = scheduler.folderMadeWhenMissing();
    IRegisteredTask* registered = nullptr;
    // The account is the group that the definition names.
    HRESULT const result = folder->RegisterTask(
        toBstr(lastComponent(name)).get(), toBstr(taskXml(definition)).get(), TASK_CREATE_OR_UPDATE,
        VARIANT{}, VARIANT{}, TASK_LOGON_GROUP, VARIANT{}, &registered);
    UniqueCom<IRegisteredTask> const owner(registered);
    scheduler.require(result);
  }

  std::optional<UString> document(std::u16string_view name) override {
    if (!isTaskName(name)) {
      return std::nullopt;
    }
    Scheduler const scheduler("read the document of the task", name);
    auto const found = scheduler.task();
    if (!found) {
      return std::nullopt;
    }
    BSTR text = nullptr;
    scheduler.require(found->get_Xml(&text));
    UniqueBstr const owner(text);
    if (SysStringLen(text) > largestTaskDocument) {
      throw SystemError("read the document of the task", name, ErrorCode::fileTooLarge);
    }
    return text ? UString(unitsOf(text)) : UString();
  }

  void registerDocument(std::u16string_view name, std::u16string_view document) override {
    constexpr auto operation = "register the document of the task";
    if (!isTaskName(name)) {
      throw SystemError(operation, name, ErrorCode::invalidParameter);
    }
    Scheduler const scheduler(operation, name);
    auto const text = toBstr(document);
    auto const logonType = logonTypeOf(*scheduler.parsed(text.get()));
    auto const folder = scheduler.folderMadeWhenMissing();
    IRegisteredTask* registered = nullptr;
    HRESULT const result =
        folder->RegisterTask(toBstr(lastComponent(name)).get(), text.get(), TASK_CREATE_OR_UPDATE,
                             VARIANT{}, VARIANT{}, logonType, VARIANT{}, &registered);
    UniqueCom<IRegisteredTask> const owner(registered);
    scheduler.require(result);
  }

  bool stopAndDisable(std::u16string_view name) override {
    if (!isTaskName(name)) {
      return false;
    }
    Scheduler const scheduler("stop the task", name);
    auto const found = scheduler.task();
    if (!found) {
      return false;
    }
    disable(scheduler, name, *found);
    endInstances(scheduler, *found);
    return true;
  }

  bool remove(std::u16string_view name) override {
    if (!isTaskName(name)) {
      return false;
    }
    Scheduler const scheduler("remove the task", name);
    auto const folder = scheduler.folder();
    if (!folder) {
      return false;
    }
    HRESULT const result = folder->DeleteTask(toBstr(lastComponent(name)).get(), 0);
    if (meansNoSuchTask(result)) {
      return false;
    }
    scheduler.require(result);
    return true;
  }

  bool folderExists(std::u16string_view name) override {
    return isTaskName(name) && Scheduler("look for the task folder", name).folder(name);
  }

  bool removeFolder(std::u16string_view name) override {
    if (!isTaskName(name)) {
      return false;
    }
    Scheduler const scheduler("remove the task folder", name);
    if (!scheduler.folder(name)) {
      return false;
    }
    scheduler.require(scheduler.topmostFolder()->DeleteFolder(toBstr(name).get(), 0));
    return true;
  }
};

}  // namespace

std::unique_ptr<Tasks> makeTasks() {
  return std::make_unique<WindowsTasks>();
}

}  // namespace machine::windows
