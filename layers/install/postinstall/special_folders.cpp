#include "install/postinstall/special_folders.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include "fl/i18n/ustring.hpp"
#include "machine/machine.hpp"

namespace install::postinstall {

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

}  // namespace

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
