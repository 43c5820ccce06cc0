// exit_with CODE: ends at once with that exit code, up to 4294967295.
#include <windows.h>

#include <cwchar>

int wmain(int count, wchar_t** arguments) {
  ExitProcess(count > 1 ? static_cast<UINT>(std::wcstoull(arguments[1], nullptr, 10)) : 0);
}
