#include "install/postinstall/special_folders.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include "fl/i18n/ustring.hpp"
#include "machine/machine.hpp"
#include "machine/path_grammar.hpp"

namespace install::postinstall {

namespace grammar = machine::path_grammar;

namespace {

machine::KnownFolder knownFolder(std::wstring_view folderId) {
  if (folderId == L"desktop") {
    return machine::KnownFolder::desktop;
  }
  if (folderId == L"startmenu") {
    return machine::KnownFolder::startMenu;
  }
  throw std::invalid_argument("unknown special folder \"" +
                              fl::i18n::to_string(fl::i18n::to_ustring(folderId)) + "\"");
}

[[noreturn]] void refuse(std::string const& reason, fl::i18n::UString const& text) {
  throw std::invalid_argument("shortcut: " + reason + " \"" + fl::i18n::to_string(text) + "\"");
}

/// To Windows, a name of nothing but dots and blanks is "." or "..", and what follows a colon the
/// name of a drive's file or of a stream.
bool staysInFolder(std::u16string_view name) {
  return name.find_first_not_of(u". ") != name.npos && name.find(u':') == name.npos;
}

bool isLink(fl::filesystem::Path const& path) {
  auto const status = machine::current().files().status(path.ustring());
  return status && status->isLink;
}

}  // namespace

fl::filesystem::Path pathInside(fl::filesystem::Path const& folder,
                                fl::i18n::UString const& subFolder, fl::i18n::UString const& name) {
  auto names = grammar::components(subFolder);
  if (grammar::rootLength(subFolder) != 0 || !std::ranges::all_of(names, staysInFolder)) {
    refuse("no folder below the Start menu:", subFolder);
  }
  if (std::ranges::any_of(name, grammar::isSeparator) || (!name.empty() && !staysInFolder(name))) {
    refuse("no file name:", name);
  }
  if (!name.empty()) {
    names.emplace_back(name);
  }
  if (names.empty()) {
    refuse("nothing named in", folder.ustring());
  }
  auto path = folder;
  for (auto const component : names) {
    if (path != folder && isLink(path)) {
      refuse("a link leads elsewhere:", path.ustring());
    }
    path /= fl::i18n::UString(component);
  }
  return path;
}

void GetSpecialFolderPath(wchar_t const* folderId, wchar_t* buffer) {
  if (folderId == nullptr || buffer == nullptr) {
    throw std::invalid_argument("special folder: no identifier or no buffer");
  }
  fl::i18n::UString const path = machine::current().shell().knownFolder(knownFolder(folderId));
  std::wstring const wide = fl::i18n::to_wstring(path);
  if (wide.size() >= specialFolderBufferLength) {
    throw machine::SystemError("find special folder", path, machine::ErrorCode::fileNameTooLong);
  }
  *std::copy(wide.begin(), wide.end(), buffer) = L'\0';
}

}  // namespace install::postinstall
