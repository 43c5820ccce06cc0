#pragma once

#include <string>
#include <vector>

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Registers COM server DLLs with the system's regsvr32.exe, one run a DLL; undo unregisters them
/// in the same order. A run counts as successful when the shell has started the program: nobody
/// waits for it to end or asks for its exit code.
///
/// Nothing stops the DLLs after the one it concerns: a DLL that does not exist, a run that the
/// shell refuses, a std::exception (the line of a failed run, then its text). A std::exception
/// before the first DLL is logged as "Unable to register Dlls", or "Unable to unregister Dlls",
/// then its text, and ends the call.
class REGISTRATION_API RegisterDlls : public utility::Command {
 public:
  RegisterDlls(utility::Options const& options, std::vector<Path> const& dlls);
  RegisterDlls(RegisterDlls const&);
  ~RegisterDlls() override;

  void execute() const override;
  void undo() const override;

 protected:
  virtual UString getSystemDirectoryWrapper() const;
  /// Whether the shell started the program.
  virtual bool shellExecuteWrapper(fl::filesystem::basic_path const& program,
                                   std::wstring const& parameters) const;
  virtual void log_message(UString const& message) const;

 private:
  struct Direction;
  void run(Direction const& direction) const;

  utility::Options options;
  std::vector<Path> dlls;
};

}  // namespace registration::commands
