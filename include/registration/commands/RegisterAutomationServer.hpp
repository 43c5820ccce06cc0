#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Makes the product's executable a COM automation server: loads a module of the installation and
/// has its function RegisterOLEServer2 do the registration; undo calls UnRegisterOLEServer2. Both
/// get the module's folder, the server argument and "VORTAN.exe", each UTF-8; what they do with
/// them, and their results, are their own business.
///
/// The module is loaded by its bare name while its folder is the current one, which is put back
/// whatever happens. A folder that cannot be entered is a failure: the name would be looked for
/// elsewhere. So is a module of that name which the search finds in another place: it is released
/// before anything of it is called, and told as trouble with its path. Every failure is the one
/// "Failed to" line; after it, when the failure was a std::exception, the exception's text.
class REGISTRATION_API RegisterAutomationServer : public utility::Command {
 public:
  /// `moduleName`: file name of the module, which lies in `moduleFolder`.
  RegisterAutomationServer(utility::Options const& options, UString const& moduleName,
                           Path const& moduleFolder, UString const& serverArgument);
  RegisterAutomationServer(RegisterAutomationServer const&);
  ~RegisterAutomationServer() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// False when the module cannot be loaded or lacks the function.
  virtual bool registerOLEServerWrapper(UString const& moduleName) const;
  virtual bool unRegisterOLEServerWrapper(UString const& moduleName) const;
  virtual void log_message(UString const& message) const;

 private:
  struct Direction;
  void run(Direction const& direction) const;
  bool callEntryPoint(UString const& module, char const* entryPoint) const;

  utility::Options options;
  UString moduleName;
  Path moduleFolder;
  UString serverArgument;
};

}  // namespace registration::commands
