// service_host NAME [slow]: a service that does nothing until it is told to stop. A slow one never
// says that it runs.
#include <windows.h>

#include <cwchar>

namespace {

SERVICE_STATUS_HANDLE reporter;
HANDLE stopped;

bool slow = false;

void report(DWORD state) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
  SetServiceStatus(reporter, &status);
}

DWORD WINAPI control(DWORD code, DWORD, void*, void*) {
  if (code == SERVICE_CONTROL_STOP) {
    report(SERVICE_STOP_PENDING);
    SetEvent(stopped);
  }
  return NO_ERROR;
}

void WINAPI run(DWORD, wchar_t** arguments) {
  reporter = RegisterServiceCtrlHandlerExW(arguments[0], control, nullptr);
  if (slow) {
    report(SERVICE_START_PENDING);
    Sleep(3000);
    report(SERVICE_STOPPED);
    return;
  }
  report(SERVICE_RUNNING);
  WaitForSingleObject(stopped, INFINITE);
  report(SERVICE_STOPPED);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  wchar_t name[] = L"service_host";
  stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (count > 2 && std::wcscmp(arguments[2], L"slow") == 0) {
    slow = true;
  }
  SERVICE_TABLE_ENTRYW const table[] = {{count > 1 ? arguments[1] : name, run}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
