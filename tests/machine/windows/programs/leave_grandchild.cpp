// leave_grandchild STARTED END: writes "started" to standard output, starts itself as a grandchild
// that keeps all its handles open, and ends at once. The grandchild sets the event named STARTED
// and lives until the one named END is set.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

int runAsGrandchild(wchar_t const* started, wchar_t const* end) {
  HANDLE const startedEvent = OpenEventW(EVENT_MODIFY_STATE, FALSE, started);
  HANDLE const endEvent = OpenEventW(SYNCHRONIZE, FALSE, end);
  SetEvent(startedEvent);
  return WaitForSingleObject(endEvent, 60000) == WAIT_OBJECT_0 ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count == 4) {
    return runAsGrandchild(arguments[1], arguments[2]);
  }
  if (count != 3) {
    return 2;
  }
  std::printf("started");
  std::fflush(stdout);
  std::wstring line = L"x " + std::wstring(arguments[1]) + L" " + arguments[2] + L" grandchild";
  wchar_t program[MAX_PATH];
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION created{};
  return CreateProcessW(program, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &created)
             ? 0
             : 1;
}
