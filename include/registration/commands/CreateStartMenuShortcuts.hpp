#pragma once

#include "machine/api.hpp"
#include "registration/utility/Command.hpp"
#include "registration/utility/Options.hpp"

namespace registration::commands {

/// Makes a shortcut to a program in a folder of the current user's Start menu; undo removes it, but
/// not the folder. Both act only when the options request Start-menu shortcuts. A std::exception
/// becomes one line of the log.
class REGISTRATION_API CreateStartMenuShortcuts : public utility::Command {
 public:
  /// `targetPath`: the program. `text2`: the folder, relative to the Start menu's Programs folder.
  /// `text3`: the program's arguments. `text4`: the shortcut's description.
  /// `shortcutName`: the shortcut's file name without extension; empty: the program's.
  /// `flag1`: the program starts maximized. `flag2`: the shell never looks elsewhere for it.
  /// `flag3`: it starts as administrator.
  CreateStartMenuShortcuts(utility::Options const& options, UString const& targetPath,
                           UString const& text2, UString const& text3, UString const& text4,
                           UString const& shortcutName, bool flag1, bool flag2, bool flag3);
  CreateStartMenuShortcuts(CreateStartMenuShortcuts const&);
  ~CreateStartMenuShortcuts() override;

  void execute() const override;
  void undo() const override;

 protected:
  /// install::postinstall::CreateStartMenuShortcut.
  virtual void createStartMenuShortcutWrapper(wchar_t const* target, wchar_t const* workingFolder,
                                              wchar_t const* shortcutFileName,
                                              wchar_t const* iconLocation, wchar_t const* folder,
                                              wchar_t const* arguments, wchar_t const* description,
                                              bool runAsAdministrator, bool startMaximized,
                                              bool neverSearchForTarget) const;
  virtual void log_message(UString const& message) const;

 private:
  utility::Options options;
  UString targetPath;
  UString text2;
  UString text3;
  UString text4;
  UString shortcutName;
  bool flag1;
  bool flag2;
  bool flag3;
};

}  // namespace registration::commands
