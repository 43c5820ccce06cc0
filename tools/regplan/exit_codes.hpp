#pragma once

#include <array>
#include <string_view>

namespace regplan {

/// What the program ends with.
enum ExitCode : int {
  allDone = 0,
  somethingFailed = 1,
  refused = 2,
  busy = 3,
};

struct ExitCodeMeaning {
  ExitCode code;
  std::string_view meaning;
};

/// Every code with what it means to a script; the help and the documents show this table.
inline constexpr std::array exitCodes = {
    ExitCodeMeaning{allDone,
                    "Everything was done, or there was nothing to do; without --strict also when "
                    "commands were done with problems. Of a restore: every item is as it was."},
    ExitCodeMeaning{
        somethingFailed,
        "A command failed or, with --strict, was done with problems; an item was not "
        "restored, or the journal is not whole; a report or the simulated machine could "
        "not be saved."},
    ExitCodeMeaning{refused,
                    "The command line, the plan or the journal was refused. Nothing was changed."},
    ExitCodeMeaning{
        busy,
        "Another run, undo or restore was still at work on the machine when the time to "
        "wait for it was over. Nothing was changed."},
};

}  // namespace regplan
