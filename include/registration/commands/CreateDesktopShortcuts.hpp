#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Makes a shortcut to a program on the current user's desktop; undo removes it. Both act only when
/// the options request desktop shortcuts. A std::exception becomes one line of the log.
class REGISTRATION_API CreateDesktopShortcuts : public utility::Command {
 public:
  /// `targetPath`: the program. `text2`: its arguments. `text3`: the shortcut's description.
  /// `shortcutName`: the shortcut's file name without extension; empty: the program's.
  /// `flag1`: the program starts maximized. `flag2`: it starts as administrator.
  CreateDesktopShortcuts(utility::Options const& options, UString const& targetPath,
                         UString const& text2, UString const& text3, UString const& shortcutName,
                         bool flag1, bool flag2);
  CreateDesktopShortcuts(CreateDesktopShortcuts const&);
  ~CreateDesktopShortcuts() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// install::postinstall::CreateDesktopShortcut.
  virtual void createDesktopShortcutWrapper(wchar_t const* target, wchar_t const* workingFolder,
                                            wchar_t const* shortcutFileName,
                                            wchar_t const* iconLocation, wchar_t const* arguments,
                                            wchar_t const* description, bool runAsAdministrator,
                                            bool startMaximized) const;
  virtual void log_message(UString const& message) const;

 private:
  utility::Options options;
  UString targetPath;
  UString text2;
  UString text3;
  UString shortcutName;
  bool flag1;
  bool flag2;
};

}  // namespace registration::commands
