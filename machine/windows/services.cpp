#include <windows.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "machine/windows/handles.hpp"
#include "machine/windows/parts.hpp"
#include "machine/windows/system_error.hpp"
#include "machine/windows/text.hpp"

namespace machine::windows {
namespace {

using UniqueService = std::unique_ptr<SC_HANDLE__, ReleaseWith<CloseServiceHandle>>;
using std::chrono::milliseconds;

UniqueService openManager(DWORD access) {
  UniqueService manager(OpenSCManagerW(nullptr, nullptr, access));
  if (!manager) {
    throw systemError("open", u"the service control manager");
  }
  return manager;
}

/// Null when there is no such service; a name that no service can have is one.
UniqueService openService(std::string_view operation, std::u16string_view name, DWORD access) {
  if (hasNul(name)) {
    return nullptr;
  }
  UniqueService const manager = openManager(SC_MANAGER_CONNECT);
  UniqueService service(OpenServiceW(manager.get(), wide(UString(name)), access));
  if (!service) {
    DWORD const error = GetLastError();
    if (error != ERROR_SERVICE_DOES_NOT_EXIST && error != ERROR_INVALID_NAME) {
      throw systemError(operation, name, error);
    }
  }
  return service;
}

UniqueService openExisting(std::string_view operation, std::u16string_view name, DWORD access) {
  UniqueService service = openService(operation, name, access);
  if (!service) {
    throw systemError(operation, name, ERROR_SERVICE_DOES_NOT_EXIST);
  }
  return service;
}

/// What a query answers: a structure followed by the texts it points to. Those pointers outlive a
/// move: a vector hands its memory on, where a string copies what is short.
using Answer = std::vector<BYTE>;

/// Empty when the system knows no such query.
template <class Query>
Answer answerOf(std::u16string_view name, Query query) {
  Answer answer;
  DWORD needed = 0;
  while (!query(answer.data(), static_cast<DWORD>(answer.size()), &needed)) {
    DWORD const error = GetLastError();
    if (error == ERROR_INVALID_LEVEL) {
      return {};
    }
    if (error != ERROR_INSUFFICIENT_BUFFER || needed <= answer.size()) {
      throw systemError("query the service", name, error);
    }
    answer.resize(needed);
  }
  return answer;
}

template <class Structure>
Structure const* as(Answer const& answer) {
  return answer.size() < sizeof(Structure) ? nullptr
                                           : reinterpret_cast<Structure const*>(answer.data());
}

UString textOf(wchar_t const* text) {
  return text ? UString(unitsOf(text)) : UString();
}

Answer query2(SC_HANDLE service, std::u16string_view name, DWORD level) {
  return answerOf(name, [&](BYTE* buffer, DWORD size, DWORD* needed) {
    return QueryServiceConfig2W(service, level, buffer, size, needed);
  });
}

UString descriptionOf(SC_HANDLE service, std::u16string_view name) {
  Answer const answer = query2(service, name, SERVICE_CONFIG_DESCRIPTION);
  auto const* const description = as<SERVICE_DESCRIPTIONW>(answer);
  return description ? textOf(description->lpDescription) : UString();
}

ServiceRecovery recoveryOf(SC_HANDLE service, std::u16string_view name) {
  Answer const answer = query2(service, name, SERVICE_CONFIG_FAILURE_ACTIONS);
  ServiceRecovery recovery;
  if (auto const* const actions = as<SERVICE_FAILURE_ACTIONSW>(answer)) {
    recovery.resetAfter = std::chrono::seconds(actions->dwResetPeriod);
    for (DWORD i = 0; i < actions->cActions; ++i) {
      auto const& action = actions->lpsaActions[i];
      recovery.actions.push_back(
          {static_cast<ServiceRecovery::Kind>(action.Type), milliseconds(action.Delay)});
    }
  }
  return recovery;
}

SERVICE_STATUS_PROCESS statusOf(SC_HANDLE service, std::u16string_view name) {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                            sizeof status, &needed)) {
    throw systemError("query the service", name);
  }
  return status;
}

void change(SC_HANDLE service, std::u16string_view name, ServiceDefinition const& definition) {
  if (!ChangeServiceConfigW(service, SERVICE_NO_CHANGE, static_cast<DWORD>(definition.start),
                            SERVICE_NO_CHANGE, wide(definition.commandLine), nullptr, nullptr,
                            nullptr, nullptr, nullptr, wide(definition.displayName))) {
    throw systemError("configure the service", name);
  }
}

UniqueService create(std::u16string_view name, ServiceDefinition const& definition) {
  UniqueService const manager = openManager(SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE);
  UniqueService service(CreateServiceW(
      manager.get(), wide(UString(name)), wide(definition.displayName), SERVICE_ALL_ACCESS,
      SERVICE_WIN32_OWN_PROCESS, static_cast<DWORD>(definition.start), SERVICE_ERROR_NORMAL,
      wide(definition.commandLine), nullptr, nullptr, nullptr, nullptr, nullptr));
  if (!service) {
    throw systemError("create the service", name);
  }
  return service;
}

void describe(SC_HANDLE service, std::u16string_view name, UString description) {
  SERVICE_DESCRIPTIONW info{wideBuffer(description)};
  if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &info)) {
    throw systemError("describe the service", name);
  }
}

void setRecovery(SC_HANDLE service, std::u16string_view name, ServiceRecovery const& recovery) {
  std::vector<SC_ACTION> actions;
  for (auto const& action : recovery.actions) {
    actions.push_back(
        {static_cast<SC_ACTION_TYPE>(action.kind), static_cast<DWORD>(action.delay.count())});
  }
  // Without any action but with a list of them, the system deletes what there was.
  SC_ACTION none{};
  SERVICE_FAILURE_ACTIONSW info{static_cast<DWORD>(recovery.resetAfter.count()), nullptr, nullptr,
                                static_cast<DWORD>(actions.size()),
                                actions.empty() ? &none : actions.data()};
  if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &info)) {
    throw systemError("set the recovery of the service", name);
  }
}

DWORD wholeMilliseconds(milliseconds time) {
  return static_cast<DWORD>(std::clamp<milliseconds::rep>(time.count(), 0, INFINITE - 1));
}

/// Waits until the service is in the state; one that ends instead is a failure with the code it
/// ended with.
void await(SC_HANDLE service, std::string_view operation, std::u16string_view name, DWORD wanted,
           milliseconds timeout) {
  constexpr milliseconds pause{50};
  auto const deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    auto const status = statusOf(service, name);
    if (status.dwCurrentState == wanted) {
      return;
    }
    if (status.dwCurrentState == SERVICE_STOPPED) {
      DWORD const code = status.dwWin32ExitCode;
      throw systemError(operation, name, code == ERROR_SUCCESS ? ERROR_PROCESS_ABORTED : code);
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      throw systemError(operation, name, ERROR_TIMEOUT);
    }
    Sleep(static_cast<DWORD>(pause.count()));
  }
}

/// The process that runs the service; null when none does or it may not be waited for.
UniqueHandle processOf(SC_HANDLE service, std::u16string_view name) {
  DWORD const id = statusOf(service, name).dwProcessId;
  return UniqueHandle(id == 0 ? nullptr : OpenProcess(SYNCHRONIZE, FALSE, id));
}

class WindowsServices final : public Services {
 public:
  std::optional<ServiceDefinition> definition(std::u16string_view name) override {
    UniqueService const service = openService("query the service", name, SERVICE_QUERY_CONFIG);
    if (!service) {
      return std::nullopt;
    }
    Answer const answer = answerOf(name, [&](BYTE* buffer, DWORD size, DWORD* needed) {
      return QueryServiceConfigW(service.get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer),
                                 size, needed);
    });
    auto const* const config = as<QUERY_SERVICE_CONFIGW>(answer);
    if (!config) {
      throw systemError("query the service", name, ERROR_INVALID_DATA);
    }
    return ServiceDefinition{textOf(config->lpDisplayName), descriptionOf(service.get(), name),
                             textOf(config->lpBinaryPathName),
                             static_cast<ServiceStart>(config->dwStartType),
                             recoveryOf(service.get(), name)};
  }

  std::optional<ServiceState> state(std::u16string_view name) override {
    UniqueService const service = openService("query the service", name, SERVICE_QUERY_STATUS);
    if (!service) {
      return std::nullopt;
    }
    return static_cast<ServiceState>(statusOf(service.get(), name).dwCurrentState);
  }

  void set(std::u16string_view name, ServiceDefinition const& definition) override {
    for (std::u16string_view const text : {name, std::u16string_view(definition.displayName),
                                           std::u16string_view(definition.description),
                                           std::u16string_view(definition.commandLine)}) {
      if (hasNul(text)) {
        throw systemError("set the service", name, ERROR_INVALID_NAME);
      }
    }
    if (definition.commandLine.empty()) {
      throw systemError("set the service", name, ERROR_INVALID_PARAMETER);
    }
    // SERVICE_START: setting a restart as recovery asks for it.
    UniqueService service =
        openService("set the service", name, SERVICE_CHANGE_CONFIG | SERVICE_START);
    if (service) {
      change(service.get(), name, definition);
    } else {
      service = create(name, definition);
    }
    describe(service.get(), name, definition.description);
    setRecovery(service.get(), name, definition.recovery);
  }

  bool remove(std::u16string_view name) override {
    UniqueService const service = openService("remove the service", name, DELETE);
    if (!service) {
      return false;
    }
    if (!DeleteService(service.get()) && GetLastError() != ERROR_SERVICE_MARKED_FOR_DELETE) {
      throw systemError("remove the service", name);
    }
    return true;
  }

  void start(std::u16string_view name, milliseconds timeout) override {
    constexpr std::string_view operation = "start the service";
    UniqueService const service =
        openExisting(operation, name, SERVICE_START | SERVICE_QUERY_STATUS);
    if (!StartServiceW(service.get(), 0, nullptr) &&
        GetLastError() != ERROR_SERVICE_ALREADY_RUNNING) {
      throw systemError(operation, name);
    }
    await(service.get(), operation, name, SERVICE_RUNNING, timeout);
  }

  void stop(std::u16string_view name, milliseconds timeout) override {
    constexpr std::string_view operation = "stop the service";
    UniqueService const service =
        openExisting(operation, name, SERVICE_STOP | SERVICE_QUERY_STATUS);
    UniqueHandle const process = processOf(service.get(), name);
    SERVICE_STATUS status{};
    if (!ControlService(service.get(), SERVICE_CONTROL_STOP, &status)) {
      DWORD const error = GetLastError();
      bool const isStopping = error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL &&
                              statusOf(service.get(), name).dwCurrentState == SERVICE_STOP_PENDING;
      if (error != ERROR_SERVICE_NOT_ACTIVE && !isStopping) {
        throw systemError(operation, name, error);
      }
    }
    await(service.get(), operation, name, SERVICE_STOPPED, timeout);
    // A service tells that it has stopped before its process ends, and its files are free only
    // then.
    if (process && WaitForSingleObject(process.get(), wholeMilliseconds(timeout)) == WAIT_TIMEOUT) {
      throw systemError(operation, name, ERROR_TIMEOUT);
    }
  }
};

}  // namespace

std::unique_ptr<Services> makeServices() {
  return std::make_unique<WindowsServices>();
}

}  // namespace machine::windows
