#pragma once

#include <string>
#include <vector>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Runs the program that builds the component framework's manifest cache, without arguments, and
/// waits for it to end; its exit code does not matter. A program that is missing or cannot be run
/// is a line in the log. undo does nothing.
class REGISTRATION_API LaunchCppMicroServicesCacheExecutable : public utility::Command {
 public:
  LaunchCppMicroServicesCacheExecutable(utility::Options const& options,
                                        Path const& executablePath);
  LaunchCppMicroServicesCacheExecutable(LaunchCppMicroServicesCacheExecutable const&);
  ~LaunchCppMicroServicesCacheExecutable() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// UTF-8 arguments. False when the program could not be started or waited for.
  virtual bool launchExe(std::vector<std::string> const& arguments) const;
  virtual void log_message(UString const& message) const;

 private:
  /// Logs a line that says what was not done, and tells it as trouble.
  void logTrouble(UString const& line) const;

  utility::Options options;
  Path executablePath;
};

}  // namespace registration::commands
