#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "machine/guards.hpp"
#include "tools/regplan/runner.hpp"
#include "tools/regplan/views.hpp"

namespace regplan {

/// What the program is given besides its arguments.
struct Surroundings {
  std::ostream& output;
  std::ostream& errors;
  Now now;
  Terminal terminal{};                   ///< what `output` is
  std::vector<machine::Guard> guards{};  ///< of this process
};

/// The whole program but for main: `arguments` are UTF-8, without the program's name. The exit
/// code, one of ExitCode.
int runProgram(std::vector<std::string> arguments, Surroundings const& surroundings);

}  // namespace regplan
