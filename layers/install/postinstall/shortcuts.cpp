#include "install/postinstall/shortcuts.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>
#include <utility>

#include "fl/filesystem/operations.hpp"
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

[[noreturn]] void refuse(std::string const& what, std::u16string_view text) {
  throw std::invalid_argument("shortcut: " + what + " \"" + machine::toUtf8(text) + "\"");
}

/// To Windows, a name of nothing but dots and blanks is "." or "..", and what follows a colon the
/// name of a drive's file or of a stream.
bool staysInFolder(std::u16string_view name) {
  return name.find_first_not_of(u". ") != name.npos && name.find(u':') == name.npos;
}

UString checkedFileName(UString name) {
  bool const isOneName = std::none_of(name.begin(), name.end(), grammar::isSeparator);
  if (!isOneName || !staysInFolder(name)) {
    refuse("no file name:", name);
  }
  return name;
}

UString checkedFolder(UString folder) {
  auto const names = grammar::components(folder);
  if (grammar::rootLength(folder) != 0 || !std::all_of(names.begin(), names.end(), staysInFolder)) {
    refuse("no folder below the Start menu:", folder);
  }
  return folder;
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

void write(Path const& folder, UString const& fileName, Shortcut shortcut) {
  if (shortcut.target.empty()) {
    refuse("no target for", fileName);
  }
  shortcut.target =
      grammar::absolute(shortcut.target, machine::current().files().currentDirectory());
  if (shortcut.workingFolder.empty()) {
    shortcut.workingFolder = grammar::parent(shortcut.target);
  }
  fl::filesystem::create_directories(folder);
  machine::current().shell().writeShortcut((folder / fileName).ustring(), shortcut);
}

Path specialFolder(KnownFolder folder) {
  return machine::current().shell().knownFolder(folder);
}

machine::WindowState windowState(int startMaximized) {
  return startMaximized != 0 ? machine::WindowState::maximized : machine::WindowState::normal;
}

}  // namespace

void CreateDesktopShortcut(wchar_t const* target, wchar_t const* workingFolder,
                           wchar_t const* shortcutFileName, wchar_t const* iconLocation,
                           wchar_t const* arguments, wchar_t const* description,
                           int runAsAdministrator, int startMaximized) {
  UString const fileName = checkedFileName(to_ustring(shortcutFileName));
  Shortcut shortcut = describe(target, workingFolder, iconLocation, arguments, description);
  shortcut.runAsAdministrator = runAsAdministrator != 0;
  shortcut.window = windowState(startMaximized);
  write(specialFolder(KnownFolder::desktop), fileName, shortcut);
}

void CreateStartMenuShortcut(wchar_t const* target, wchar_t const* workingFolder,
                             wchar_t const* shortcutFileName, wchar_t const* iconLocation,
                             wchar_t const* folder, wchar_t const* arguments,
                             wchar_t const* description, int runAsAdministrator, int startMaximized,
                             int neverSearchForTarget) {
  UString const fileName = checkedFileName(to_ustring(shortcutFileName));
  UString const subFolder = checkedFolder(to_ustring(folder));
  Shortcut shortcut = describe(target, workingFolder, iconLocation, arguments, description);
  shortcut.runAsAdministrator = runAsAdministrator != 0;
  shortcut.window = windowState(startMaximized);
  shortcut.neverSearchForTarget = neverSearchForTarget != 0;
  write(specialFolder(KnownFolder::startMenu) / subFolder, fileName, shortcut);
}

}  // namespace install::postinstall
