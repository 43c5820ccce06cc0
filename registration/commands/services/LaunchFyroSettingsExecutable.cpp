#include "registration/commands/LaunchFyroSettingsExecutable.hpp"

#include "fl/filesystem/operations.hpp"
#include "registration/commands/services/helper_program.hpp"

namespace registration::commands {

LaunchFyroSettingsExecutable::LaunchFyroSettingsExecutable(utility::Options const& given,
                                                           Path const& executable)
    : options(given), executablePath(executable) {}
LaunchFyroSettingsExecutable::LaunchFyroSettingsExecutable(LaunchFyroSettingsExecutable const&) =
    default;
LaunchFyroSettingsExecutable::~LaunchFyroSettingsExecutable() = default;

void LaunchFyroSettingsExecutable::execute() const {
  using fl::i18n::ustring_to_utf8;
  if (!options.isUsageDataSettingsRequested() || !fl::filesystem::exists(executablePath)) {
    return;
  }
  std::vector<std::string> arguments{"-m", ustring_to_utf8(options.getRootPath()), "-i",
                                     ustring_to_utf8(options.getUsageDataSettingsArgument()), "-s"};
  if (options.isSettingsToolOptionSet()) {
    arguments.emplace_back("-c");
  }
  launchExe(arguments);
}

void LaunchFyroSettingsExecutable::undo() const {}

bool LaunchFyroSettingsExecutable::launchExe(std::vector<std::string> const& arguments) const {
  startHelper(executablePath, arguments).detach();
  return true;
}

}  // namespace registration::commands
