#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Records the installation in the machine's registry of installations, or in the one that the
/// environment variable BSH_INSTALLATION_REGISTRY_NAME_OVERRIDE names. undo does nothing: the
/// record stays. A failure is one line in the log.
class REGISTRATION_API InstallationsRegistryCommand : public utility::Command {
 public:
  explicit InstallationsRegistryCommand(utility::Options const& options);
  InstallationsRegistryCommand(InstallationsRegistryCommand const&);
  InstallationsRegistryCommand(InstallationsRegistryCommand&&);
  ~InstallationsRegistryCommand() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void log_message(UString const& message) const;

 private:
  void addRecord() const;
  /// Logs a line that says what was not done, and tells it as trouble.
  void logTrouble(UString const& line) const;

  utility::Options options;
};

}  // namespace registration::commands
