#pragma once

#include <string>
#include <vector>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Starts the usage-data settings tool when the options request it, and does not wait for it:
/// `-m <installation root> -i <usage data settings argument> -s`, with `-c` at the end when that
/// option is set. Logs nothing; a missing tool is passed over. undo does nothing.
///
/// Nothing is caught: what keeps the tool from being started leaves the call.
class REGISTRATION_API LaunchFyroSettingsExecutable : public utility::Command {
 public:
  LaunchFyroSettingsExecutable(utility::Options const& options, Path const& executablePath);
  LaunchFyroSettingsExecutable(LaunchFyroSettingsExecutable const&);
  ~LaunchFyroSettingsExecutable() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// UTF-8 arguments. True once the program is started.
  virtual bool launchExe(std::vector<std::string> const& arguments) const;

 private:
  utility::Options options;
  Path executablePath;
};

}  // namespace registration::commands
