#pragma once

#include <functional>
#include <string>
#include <vector>

#include "registration/utility/types.hpp"

/// Running a registration program through the shell once for each file of a list.
namespace registration::commands {

/// What one kind of run differs in from another.
struct FileRun {
  UString switches;  ///< before the quoted file, with the blank that follows: "/s "
  UString missing;   ///< after the name of a file that does not exist
  UString success;   ///< before the description of a run that the shell started
};

/// The command's own operations.
struct RunOperations {
  std::function<bool(Path const& file)> exists;
  std::function<bool(Path const& program, std::wstring const& parameters)> launch;
  std::function<void(UString const& message)> log;
};

/// Runs `program` for each file in order and logs each outcome. No file's failure stops those after
/// it: what is thrown for one is logged after the line of a failed run.
void runForEach(std::vector<Path> const& files, Path const& program, FileRun const& run,
                RunOperations const& operations);

}  // namespace registration::commands
