#include "registration/commands/os/shortcut_steps.hpp"

#include "registration/utility/failure_convention.hpp"
#include "registration/utility/utilities.hpp"

namespace registration::commands::shortcut_steps {

using fl::i18n::to_string;
using fl::i18n::to_ustring;
using fl::i18n::to_wstring;

namespace {

/// Runs `step`; a failure is one line, put together in narrow text.
template <typename Step>
void reportingIn(Subject const& subject, UString const& failurePrefix, Step&& step) {
  utility::reportingFailure(std::forward<Step>(step), [&](UString const& text) {
    utility::logTrouble(subject.log,
                        to_ustring(to_string(failurePrefix + subject.targetPath + text)),
                        subject.targetPath);
  });
}

/// "desktop shortcut for ".
UString shortcutFor(Subject const& subject) {
  return subject.kind.name + UString(u" shortcut for ");
}

}  // namespace

void create(
    Subject const& subject,
    std::function<void(wchar_t const* target, wchar_t const* fileName)> const& makeShortcut) {
  UString const what = shortcutFor(subject);
  reportingIn(subject, u"Exception while creating " + what, [&] {
    std::wstring const target = to_wstring(subject.targetPath);
    std::wstring const fileName =
        to_wstring(utility::getShortcutFileName(subject.targetPath, subject.shortcutName));
    subject.log(u"Creating " + what + subject.targetPath);
    makeShortcut(target.c_str(), fileName.c_str());
    subject.log(u"Successfully created " + what + subject.targetPath);
  });
}

void remove(Subject const& subject, UString const& subFolder) {
  UString const what = shortcutFor(subject);
  reportingIn(subject, u"Exception while deleting " + what, [&] {
    subject.log(u"Deleting " + what + subject.targetPath);
    utility::removeSpecialFolderEntry(
        subject.kind.folderId,
        utility::getShortcutFileName(subject.targetPath, subject.shortcutName), subFolder);
    subject.log(u"Successfully deleted " + what + subject.targetPath);
  });
}

}  // namespace registration::commands::shortcut_steps
