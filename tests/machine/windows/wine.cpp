#include "tests/support/wine.hpp"

#include <windows.h>

namespace testing_support {

bool isWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace testing_support
