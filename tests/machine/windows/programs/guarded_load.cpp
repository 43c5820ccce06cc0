#include <windows.h>

#include <cstdio>
#include <string_view>

#include "machine/guards.hpp"

/// guarded_load on|off MODULE: loads a module by its bare name, with the system's guards turned on
/// before or without them. Prints each guard, and "loaded" or "not found".
int wmain(int count, wchar_t** arguments) {
  if (count != 3) return 2;
  if (std::wstring_view(arguments[1]) == L"on") {
    for (machine::Guard const& guard : machine::guardProcess()) {
      std::printf("%s: %s\n", guard.name.c_str(), nameOf(guard.state).data());
    }
  }
  std::puts(LoadLibraryW(arguments[2]) != nullptr ? "loaded" : "not found");
  return 0;
}
