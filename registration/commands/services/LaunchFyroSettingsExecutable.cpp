#include "registration/commands/LaunchFyroSettingsExecutable.hpp"

#include "fl/filesystem/operations.hpp"
#include "registration/commands/services/helper_program.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

LaunchFyroSettingsExecutable::LaunchFyroSettingsExecutable(utility::Options const& given,
                                                           Path const& executable)
    : options(given), executablePath(executable) {}
LaunchFyroSettingsExecutable::LaunchFyroSettingsExecutable(LaunchFyroSettingsExecutable const&) =
    default;
LaunchFyroSettingsExecutable::~LaunchFyroSettingsExecutable() = default;

void LaunchFyroSettingsExecutable::execute() const {
  using fl::i18n::ustring_to_utf8;
  if (utility::skippedBy(u"isUsageDataSettingsRequested", options.isUsageDataSettingsRequested(),
                         false)) {
    return;
  }
  if (!fl::filesystem::exists(executablePath)) {
    utility::skipped(executablePath.ustring() + u" does not exist", executablePath.ustring());
    return;
  }
  std::vector<std::string> arguments{"-m", ustring_to_utf8(options.getRootPath()), "-i",
                                     ustring_to_utf8(options.getUsageDataSettingsArgument()), "-s"};
  if (options.isSettingsToolOptionSet()) {
    arguments.emplace_back("-c");
  }
  launchExe(arguments);
}

void LaunchFyroSettingsExecutable::undo() const {
  utility::skipped(u"what the helper program did stays", {});
}

bool LaunchFyroSettingsExecutable::launchExe(std::vector<std::string> const& arguments) const {
  startHelper(executablePath, arguments).detach();
  return true;
}

}  // namespace registration::commands
