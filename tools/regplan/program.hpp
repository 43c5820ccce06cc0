#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tools/regplan/runner.hpp"
#include "tools/regplan/views.hpp"

namespace regplan {

enum ExitCode : int {
  allRan = 0,         ///< whether or not messages reported problems
  commandFailed = 1,  ///< an exception left at least one command, or a result could not be saved
  refused = 2,        ///< bad command line, plan or journal: nothing was changed
  busy = 3,           ///< another run, undo or restore went on: nothing was changed
};

/// What the program is given besides its arguments.
struct Surroundings {
  std::ostream& output;
  std::ostream& errors;
  Now now;
  Terminal terminal{};  ///< what `output` is
};

/// The whole program but for main: `arguments` are UTF-8, without the program's name. The exit
/// code.
int runProgram(std::vector<std::string> arguments, Surroundings const& surroundings);

}  // namespace regplan
