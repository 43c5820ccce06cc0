#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Puts a folder of the product into the machine's `Path`, next to other installations of the
/// product by a version rule, so that the newest is found first; undo takes it out again. Running
/// programs are told, and execute updates this process's own `Path`.
///
/// execute looks for the folder anywhere in the value and without regard to case; undo removes its
/// first exact occurrence, and rewrites and broadcasts even when there is none. The type of the
/// registry value is kept and nothing in it is expanded; a `Path` that is no string (REG_MULTI_SZ,
/// REG_DWORD ...) is a std::runtime_error and stays as it is. Exceptions leave the call.
class REGISTRATION_API UpdatePathEnvironmentVariable : public utility::Command {
 public:
  /// `pathEntry`: the folder, as it is to appear in the path, normally one named "bin".
  /// `productVersion`: of the product being installed, "25.1.0.1".
  /// `executableName`: file name of the program whose version identifies an installation.
  UpdatePathEnvironmentVariable(utility::Options const& options, UString const& pathEntry,
                                UString const& productVersion, UString const& executableName);
  UpdatePathEnvironmentVariable(UpdatePathEnvironmentVariable const&);
  UpdatePathEnvironmentVariable(UpdatePathEnvironmentVariable&&);
  ~UpdatePathEnvironmentVariable() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// The machine's `Path` as stored; std::runtime_error for one that is no string.
  virtual UString getPathEntries() const;
  virtual void setEnvironmentRegistryKey(UString const& value) const;
  virtual UString getFileVersionWrapper(Path const& file) const;
  virtual bool existsWrapper(Path const& file) const;
  virtual void log_message(UString const& message) const;
  /// The broadcast's result; negative is a failure, 0 is not.
  virtual long sendMessageAboutEnvironment() const;
  virtual void updatePathForCurrentSession(UString const& value) const;
  virtual UString getLastErrorWrapper() const;

 private:
  void updateRegistryAndEnv(UString const& newPath) const;
  void logTrouble(UString const& line) const;

  utility::Options options;
  UString pathEntry;
  UString productVersion;
  UString executableName;
};

}  // namespace registration::commands
