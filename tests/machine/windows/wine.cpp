#include "tests/support/wine.hpp"

#include <windows.h>

namespace tests {

bool isWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace tests
