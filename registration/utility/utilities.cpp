#include "registration/utility/utilities.hpp"

#include <cctype>
#include <climits>
#include <sstream>
#include <stdexcept>
#include <string>

#include "fl/filesystem/operations.hpp"
#include "install/cpputil/versions.hpp"
#include "install/postinstall/file_version.hpp"
#include "install/postinstall/special_folders.hpp"

namespace registration::utility {

int compareVersions(UString const& a, UString const& b) {
  return install::cpputil::compareVersions(a, b);
}

UString getFileVersion(UString const& filePath) {
  return install::postinstall::readFileVersion(filePath);
}

UString getShortcutFileName(UString const& executablePath, UString const& shortcutName) {
  if (!shortcutName.empty()) {
    return shortcutName + u".lnk";
  }
  if (executablePath.empty()) {
    throw std::runtime_error("Exception in command_impls: executable file path cannot be empty");
  }
  return fl::filesystem::extract_stem(executablePath) + u".lnk";
}

void removeSpecialFolderEntry(UString const& folderId, UString const& entryName,
                              UString const& subFolder) {
  std::wstring folder(install::postinstall::specialFolderBufferLength, L'\0');
  install::postinstall::GetSpecialFolderPath(fl::i18n::to_wstring(folderId).c_str(), folder.data());
  Path const entry =
      install::postinstall::pathInside(fl::i18n::to_ustring(folder.c_str()), subFolder, entryName);
  if (fl::filesystem::exists(entry)) {
    fl::filesystem::remove_all(entry);
  }
}

UString toLower(UString const& text) {
  UString lower = text;
  for (char16_t& unit : lower) {
    if (unit <= UCHAR_MAX) {  // beyond it tolower is undefined, and no C library lowers anything
      unit = static_cast<char16_t>(std::tolower(unit));
    }
  }
  return lower;
}

std::vector<UString> split(UString const& text, char delimiter) {
  std::vector<UString> tokens;
  std::istringstream stream(fl::i18n::to_string(text));
  for (std::string token; std::getline(stream, token, delimiter);) {
    tokens.push_back(fl::i18n::to_ustring(token));
  }
  return tokens;
}

}  // namespace registration::utility
