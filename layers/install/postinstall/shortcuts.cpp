#include "install/postinstall/shortcuts.hpp"

#include <charconv>
#include <stdexcept>
#include <string>
#include <utility>

#include "fl/filesystem/operations.hpp"
#include "install/postinstall/special_folders.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace install::postinstall {

namespace grammar = machine::path_grammar;
using fl::filesystem::Path;
using fl::i18n::to_ustring;
using fl::i18n::UString;
using machine::KnownFolder;
using machine::Shortcut;

namespace {

UString const& requireName(UString const& fileName) {
  if (fileName.empty()) {
    throw std::invalid_argument("shortcut: no file name");
  }
  return fileName;
}

/// "C:\x\a.exe,-3" -> file and index; without a number after the last comma all of it is the file.
void setIcon(Shortcut& shortcut, UString const& location) {
  shortcut.iconFile = location;
  std::size_t const comma = location.rfind(u',');
  if (comma == location.npos) {
    return;
  }
  std::string const number = machine::toUtf8(std::u16string_view(location).substr(comma + 1));
  char const* const end = number.data() + number.size();
  auto const [stop, error] = std::from_chars(number.data(), end, shortcut.iconIndex);
  if (error == std::errc() && stop == end) {
    shortcut.iconFile.resize(comma);
  } else {
    shortcut.iconIndex = 0;
  }
}

Shortcut describe(wchar_t const* target, wchar_t const* workingFolder, wchar_t const* iconLocation,
                  wchar_t const* arguments, wchar_t const* description) {
  Shortcut shortcut;
  shortcut.target = to_ustring(target);
  shortcut.workingFolder = to_ustring(workingFolder);
  shortcut.arguments = to_ustring(arguments);
  shortcut.description = to_ustring(description);
  setIcon(shortcut, to_ustring(iconLocation));
  return shortcut;
}

void write(KnownFolder special, UString const& folder, UString const& fileName, Shortcut shortcut) {
  Path const path =
      pathInside(machine::current().shell().knownFolder(special), folder, requireName(fileName));
  if (shortcut.target.empty()) {
    throw std::invalid_argument("shortcut: no target for \"" + machine::toUtf8(fileName) + "\"");
  }
  shortcut.target =
      grammar::absolute(shortcut.target, machine::current().files().currentDirectory());
  if (shortcut.workingFolder.empty()) {
    shortcut.workingFolder = grammar::parent(shortcut.target);
  }
  fl::filesystem::create_directories(path.parent_path());
  machine::current().shell().writeShortcut(path.ustring(), shortcut);
}

machine::WindowState windowState(int startMaximized) {
  return startMaximized != 0 ? machine::WindowState::maximized : machine::WindowState::normal;
}

}  // namespace

void CreateDesktopShortcut(wchar_t const* target, wchar_t const* workingFolder,
                           wchar_t const* shortcutFileName, wchar_t const* iconLocation,
                           wchar_t const* arguments, wchar_t const* description,
                           int runAsAdministrator, int startMaximized) {
  Shortcut shortcut = describe(target, workingFolder, iconLocation, arguments, description);
  shortcut.runAsAdministrator = runAsAdministrator != 0;
  shortcut.window = windowState(startMaximized);
  write(KnownFolder::desktop, u"", to_ustring(shortcutFileName), shortcut);
}

void CreateStartMenuShortcut(wchar_t const* target, wchar_t const* workingFolder,
                             wchar_t const* shortcutFileName, wchar_t const* iconLocation,
                             wchar_t const* folder, wchar_t const* arguments,
                             wchar_t const* description, int runAsAdministrator, int startMaximized,
                             int neverSearchForTarget) {
  Shortcut shortcut = describe(target, workingFolder, iconLocation, arguments, description);
  shortcut.runAsAdministrator = runAsAdministrator != 0;
  shortcut.window = windowState(startMaximized);
  shortcut.neverSearchForTarget = neverSearchForTarget != 0;
  write(KnownFolder::startMenu, to_ustring(folder), to_ustring(shortcutFileName), shortcut);
}

}  // namespace install::postinstall
