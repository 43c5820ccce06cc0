#include "registration/commands/CreateDesktopShortcuts.hpp"

#include "install/cpputil/logger.hpp"
#include "install/postinstall/shortcuts.hpp"
#include "registration/commands/os/shortcut_steps.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

using fl::i18n::to_wstring;

CreateDesktopShortcuts::CreateDesktopShortcuts(utility::Options const& given, UString const& target,
                                               UString const& givenText2, UString const& givenText3,
                                               UString const& name, bool givenFlag1,
                                               bool givenFlag2)
    : options(given),
      targetPath(target),
      text2(givenText2),
      text3(givenText3),
      shortcutName(name),
      flag1(givenFlag1),
      flag2(givenFlag2) {}
CreateDesktopShortcuts::CreateDesktopShortcuts(CreateDesktopShortcuts const&) = default;
CreateDesktopShortcuts::~CreateDesktopShortcuts() = default;

void CreateDesktopShortcuts::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true) ||
      utility::skippedBy(u"isDesktopShortcutRequested", options.isDesktopShortcutRequested(),
                         false)) {
    return;
  }
  shortcut_steps::create({shortcut_steps::desktop, targetPath, shortcutName,
                          [this](UString const& message) { log_message(message); }},
                         [this](wchar_t const* target, wchar_t const* fileName) {
                           // The library's flags are in an order of their own.
                           createDesktopShortcutWrapper(target, nullptr, fileName, nullptr,
                                                        to_wstring(text2).c_str(),
                                                        to_wstring(text3).c_str(), flag2, flag1);
                         });
}

void CreateDesktopShortcuts::undo() const {
  if (utility::skippedBy(u"isDesktopShortcutRequested", options.isDesktopShortcutRequested(),
                         false)) {
    return;
  }
  shortcut_steps::remove({shortcut_steps::desktop, targetPath, shortcutName,
                          [this](UString const& message) { log_message(message); }},
                         u"");
}

void CreateDesktopShortcuts::createDesktopShortcutWrapper(
    wchar_t const* target, wchar_t const* workingFolder, wchar_t const* shortcutFileName,
    wchar_t const* iconLocation, wchar_t const* arguments, wchar_t const* description,
    bool runAsAdministrator, bool startMaximized) const {
  install::postinstall::CreateDesktopShortcut(target, workingFolder, shortcutFileName, iconLocation,
                                              arguments, description, runAsAdministrator,
                                              startMaximized);
}

void CreateDesktopShortcuts::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
