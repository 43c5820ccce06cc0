#pragma once

#include <memory>
#include <string>

#include "install/cppinstrset/InstrSetPostInstallUtils.hpp"
#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Writes the environment variables of the installed third-party components, as their instruction
/// sets give them, to the metadata file `envVariableList` in the metadata root: one line a
/// variable, `NAME|VALUE|true` or `NAME|VALUE|false` (whether it overwrites a value that is there).
/// In a value,
/// `$IS_ROOT_DIR` stands for the component's root folder and `$IS_FILE_SEP` for a backslash.
///
/// undo does the same as execute: the file is rebuilt from the sets that are installed then. A
/// std::exception is logged and ends the call.
class REGISTRATION_API Add3PEnvVarToMetadataFile : public utility::Command {
 public:
  explicit Add3PEnvVarToMetadataFile(utility::Options const& options);
  Add3PEnvVarToMetadataFile(Add3PEnvVarToMetadataFile const&);
  ~Add3PEnvVarToMetadataFile() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual void add3PEnvVarsEntriesToMetadataFile() const;
  virtual void log_message(UString const& message) const;
  /// Rewrites `envVariableList`: header, body and an empty line. Without a body the file is
  /// deleted, and nothing logged.
  virtual void writeEnvVarEntriesToFile(UString const& root, std::string body) const;
  /// The lines of all variables, UTF-8; those before a failure when there is one.
  virtual std::string getAllEnvVariablesFromInstrSetMap(UString const& root) const;
  /// A derived class may hand in one of its own.
  virtual std::unique_ptr<install::cppinstrset::InstrSetPostInstallUtils>
  getInstrSetPostInstallUtilsInstance() const;

 private:
  utility::Options options;
};

}  // namespace registration::commands
