#include "tests/machine/windows/test_programs.hpp"

#include <windows.h>

#include "machine/path_grammar.hpp"

namespace tests {

machine::UString testProgram(std::u16string_view name) {
  wchar_t own[MAX_PATH];
  DWORD const length = GetModuleFileNameW(nullptr, own, MAX_PATH);
  machine::UString const path = machine::fromWide({own, length});
  return machine::path_grammar::join(machine::path_grammar::parent(path), name);
}

}  // namespace tests
