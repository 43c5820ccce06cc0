#include "registration/commands/os/run_per_file.hpp"

#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

void runFor(Path const& file, Path const& program, FileRun const& run,
            RunOperations const& operations) {
  UString const parameters = run.switches + u"\"" + file.ustring() + u"\"";
  UString const description = u"[" + program.ustring() + u" " + parameters + u"]";
  UString const failure = u"Failed to run " + description;
  utility::loggingFailure(operations.log, failure, [&] {
    // No file's name has a quote in it, so that none that exists can break out of the quotes.
    if (!operations.exists(file)) {
      utility::logTrouble(operations.log, file.ustring() + run.missing, file.ustring());
      return;
    }
    // The program loads it.
    install::cpputil::trouble::warn_of_relative_code(file.ustring());
    operations.log(u"Running " + description);
    if (operations.launch(program, fl::i18n::to_wstring(parameters))) {
      operations.log(run.success + description);
    } else {
      utility::logTrouble(operations.log, failure, file.ustring());
    }
  });
}

}  // namespace

void runForEach(std::vector<Path> const& files, Path const& program, FileRun const& run,
                RunOperations const& operations) {
  for (Path const& file : files) {
    runFor(file, program, run, operations);
  }
}

}  // namespace registration::commands
