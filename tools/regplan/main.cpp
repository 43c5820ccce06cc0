#include <chrono>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "machine/console.hpp"
#include "machine/unicode.hpp"
#include "tools/regplan/program.hpp"

namespace {

int run(std::vector<std::string> arguments, std::vector<machine::Guard> guards) {
  machine::Console const console;
  return regplan::runProgram(std::move(arguments),
                             {std::cout,
                              std::cerr,
                              std::chrono::steady_clock::now,
                              {console.isTerminal(), console.takesColours(), console.columns()},
                              std::move(guards)});
}

}  // namespace

#if defined(_WIN32)
// Only the wide arguments are what was typed: the narrow ones lose what the code page lacks.
extern "C" int wmain(int count, wchar_t* values[]) {
  auto guards = machine::guardProcess();
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) {
    arguments.push_back(machine::toUtf8(machine::fromWide(values[i])));
  }
  return run(std::move(arguments), std::move(guards));
}
#else
int main(int count, char* values[]) {
  return run(
      count > 0 ? std::vector<std::string>(values + 1, values + count) : std::vector<std::string>(),
      machine::guardProcess());
}
#endif
