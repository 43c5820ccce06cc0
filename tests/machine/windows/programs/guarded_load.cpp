#include <windows.h>

#include <cstdio>
#include <string_view>

#include "machine/guards.hpp"
#include "machine/machine.hpp"

/// guarded_load on|off MODULE [FILE]: loads a module by its bare name, with the system's guards
/// turned on before or without them. Prints each guard, and "loaded" or "not found". With FILE,
/// calls the module as the one that FILE must be, and prints "called" or "not called".
int wmain(int count, wchar_t** arguments) {
  if (count != 3 && count != 4) return 2;
  if (std::wstring_view(arguments[1]) == L"on") {
    for (machine::Guard const& guard : machine::guardProcess()) {
      std::printf("%s: %s\n", guard.name.c_str(), nameOf(guard.state).data());
    }
  }
  if (count == 4) {
    auto const outcome = machine::current().modules().callEntryPoint(
        machine::fromWide(arguments[2]), machine::fromWide(arguments[3]), "RegisterOLEServer2", {});
    std::puts(outcome == machine::ModuleCall::called ? "called" : "not called");
    return 0;
  }
  std::puts(LoadLibraryW(arguments[2]) != nullptr ? "loaded" : "not found");
  return 0;
}
