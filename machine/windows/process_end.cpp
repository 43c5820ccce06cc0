#include "machine/process_end.hpp"

#include <windows.h>

#include <cstdlib>
#include <deque>

namespace machine {

namespace {

using Handler = int(__cdecl*)();

/// Functions not called yet. Never destroyed: it is needed to the very end.
std::deque<void (*)()>& functions() {
  static auto& all = *new std::deque<void (*)()>;
  return all;
}

int __cdecl callTheLast() {
  auto* const function = functions().back();
  functions().pop_back();
  function();
  return 0;
}

/// The C run time's own list, which exit() works through; what the compiler links as _onexit and
/// atexit is a list of this module's.
Handler registerWithTheRunTime(Handler handler) {
  auto* const onExit = reinterpret_cast<Handler(__cdecl*)(Handler)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "_onexit")));
  return onExit ? onExit(handler) : nullptr;
}

}  // namespace

void atProcessEnd(void (*function)()) {
  functions().push_back(function);
  if (!registerWithTheRunTime(callTheLast)) {
    functions().pop_back();
    std::atexit(function);
  }
}

}  // namespace machine
