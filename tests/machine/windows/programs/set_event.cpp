// set_event HANDLE: sets the event of that handle number, 0 when it could: then the handle was
// inherited.
#include <windows.h>

#include <cwchar>

int wmain(int count, wchar_t** arguments) {
  auto const handle =
      reinterpret_cast<HANDLE>(count > 1 ? std::wcstoull(arguments[1], nullptr, 10) : 0);
  return SetEvent(handle) ? 0 : 1;
}
