#include "registration/commands/LaunchCppMicroServicesCacheExecutable.hpp"

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/logger.hpp"
#include "registration/commands/services/helper_program.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

namespace {

UString const programName = u"Manifest cache executable";

}  // namespace

LaunchCppMicroServicesCacheExecutable::LaunchCppMicroServicesCacheExecutable(
    utility::Options const& given, Path const& executable)
    : options(given), executablePath(executable) {}
LaunchCppMicroServicesCacheExecutable::LaunchCppMicroServicesCacheExecutable(
    LaunchCppMicroServicesCacheExecutable const&) = default;
LaunchCppMicroServicesCacheExecutable::~LaunchCppMicroServicesCacheExecutable() = default;

void LaunchCppMicroServicesCacheExecutable::execute() const {
  if (executablePath.empty() || !fl::filesystem::exists(executablePath)) {
    logTrouble(programName + u" does not exist");
    return;
  }
  launchExe({});
}

void LaunchCppMicroServicesCacheExecutable::undo() const {
  utility::skipped(u"what the helper program did stays", {});
}

bool LaunchCppMicroServicesCacheExecutable::launchExe(
    std::vector<std::string> const& arguments) const {
  log_message(u"Calling " + programName);
  bool hasEnded = false;
  utility::reportingFailure(
      [&] {
        startHelper(executablePath, arguments).exit_status();
        hasEnded = true;
      },
      [this](UString const& reason) {
        logTrouble(u"Unable to call " + programName + u":" + reason);
      });
  if (hasEnded) {
    log_message(u"Successfully called " + programName);
  }
  return hasEnded;
}

void LaunchCppMicroServicesCacheExecutable::logTrouble(UString const& line) const {
  utility::logTrouble([this](UString const& message) { log_message(message); }, line,
                      executablePath.ustring());
}

void LaunchCppMicroServicesCacheExecutable::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
