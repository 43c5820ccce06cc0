// helper_probe.exe ARGUMENT...: a helper program that does what the environment asks for, in order:
//   PROBE_WAIT    waits for the event of that name
//   PROBE_HANDLE  sets the event of that handle number, which works when the handle was inherited
//   PROBE_FILE    writes its arguments to that file, one a line, and then "complete"
//   PROBE_DONE    sets the event of that name
//   PROBE_EXIT    ends with that exit code
#include <cwchar>

#include "record.hpp"

namespace {

std::wstring variable(wchar_t const* name) {
  wchar_t value[1024];
  DWORD const length = GetEnvironmentVariableW(name, value, 1024);
  return {value, length};
}

HANDLE event(wchar_t const* nameVariable) {
  return OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, variable(nameVariable).c_str());
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (HANDLE const awaited = event(L"PROBE_WAIT")) {
    WaitForSingleObject(awaited, 60000);
  }
  SetEvent(reinterpret_cast<HANDLE>(std::wcstoull(variable(L"PROBE_HANDLE").c_str(), nullptr, 10)));
  sample::appendLines(variable(L"PROBE_FILE"), sample::linesOf(count, arguments) + "complete\n");
  if (HANDLE const done = event(L"PROBE_DONE")) {
    SetEvent(done);
  }
  return static_cast<int>(std::wcstol(variable(L"PROBE_EXIT").c_str(), nullptr, 10));
}
