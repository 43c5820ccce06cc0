#include "registration/commands/CreateStartMenuShortcuts.hpp"

#include "install/cpputil/logger.hpp"
#include "install/postinstall/shortcuts.hpp"
#include "registration/commands/os/shortcut_steps.hpp"
#include "registration/utility/failure_convention.hpp"

namespace registration::commands {

using fl::i18n::to_wstring;

CreateStartMenuShortcuts::CreateStartMenuShortcuts(utility::Options const& given,
                                                   UString const& target, UString const& givenText2,
                                                   UString const& givenText3,
                                                   UString const& givenText4, UString const& name,
                                                   bool givenFlag1, bool givenFlag2,
                                                   bool givenFlag3)
    : options(given),
      targetPath(target),
      text2(givenText2),
      text3(givenText3),
      text4(givenText4),
      shortcutName(name),
      flag1(givenFlag1),
      flag2(givenFlag2),
      flag3(givenFlag3) {}
CreateStartMenuShortcuts::CreateStartMenuShortcuts(CreateStartMenuShortcuts const&) = default;
CreateStartMenuShortcuts::~CreateStartMenuShortcuts() = default;

void CreateStartMenuShortcuts::execute() const {
  if (utility::skippedBy(u"isSystemIntegrationSkipped", options.isSystemIntegrationSkipped(),
                         true) ||
      utility::skippedBy(u"isStartMenuShortcutRequested", options.isStartMenuShortcutRequested(),
                         false)) {
    return;
  }
  shortcut_steps::create({shortcut_steps::startMenu, targetPath, shortcutName,
                          [this](UString const& message) { log_message(message); }},
                         [this](wchar_t const* target, wchar_t const* fileName) {
                           // The library's flags are in an order of their own.
                           createStartMenuShortcutWrapper(
                               target, nullptr, fileName, nullptr, to_wstring(text2).c_str(),
                               to_wstring(text3).c_str(), to_wstring(text4).c_str(), flag3, flag1,
                               flag2);
                         });
}

void CreateStartMenuShortcuts::undo() const {
  if (utility::skippedBy(u"isStartMenuShortcutRequested", options.isStartMenuShortcutRequested(),
                         false)) {
    return;
  }
  shortcut_steps::remove({shortcut_steps::startMenu, targetPath, shortcutName,
                          [this](UString const& message) { log_message(message); }},
                         text2);
}

void CreateStartMenuShortcuts::createStartMenuShortcutWrapper(
    wchar_t const* target, wchar_t const* workingFolder, wchar_t const* shortcutFileName,
    wchar_t const* iconLocation, wchar_t const* folder, wchar_t const* arguments,
    wchar_t const* description, bool runAsAdministrator, bool startMaximized,
    bool neverSearchForTarget) const {
  install::postinstall::CreateStartMenuShortcut(
      target, workingFolder, shortcutFileName, iconLocation, folder, arguments, description,
      runAsAdministrator, startMaximized, neverSearchForTarget);
}

void CreateStartMenuShortcuts::log_message(UString const& message) const {
  install::cpputil::logger::append_message(message);
}

}  // namespace registration::commands
