#pragma once

#include <functional>
#include <string>

#include "registration/utility/types.hpp"

/// What the shortcut commands share: the order of their steps and what they log.
namespace registration::commands::shortcut_steps {

/// Where the two kinds of shortcut differ.
struct Kind {
  char16_t const* name;      ///< in messages
  char16_t const* folderId;  ///< of the special folder that holds the shortcuts
};

inline constexpr Kind desktop{u"desktop", u"desktop"};
inline constexpr Kind startMenu{u"start menu", u"startmenu"};

/// A command's shortcut, and its log.
struct Subject {
  Kind kind;
  UString const& targetPath;
  UString const& shortcutName;  ///< empty: the target's stem
  std::function<void(UString const&)> log;
};

/// Calls `makeShortcut` with the target and the shortcut's file name, as wide text. A
/// std::exception ends in the log.
void create(
    Subject const& subject,
    std::function<void(wchar_t const* target, wchar_t const* fileName)> const& makeShortcut);

/// Removes the shortcut from `subFolder` of its special folder. A std::exception ends in the log.
void remove(Subject const& subject, UString const& subFolder);

}  // namespace registration::commands::shortcut_steps
