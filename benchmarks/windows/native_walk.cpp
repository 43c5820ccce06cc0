#include "benchmarks/native_walk.hpp"

#include <windows.h>

#include <string>
#include <string_view>

namespace benchmarks {

namespace {

std::size_t walkBelow(std::wstring& folder) {
  std::size_t const length = folder.size();
  std::size_t found = 0;
  folder += L"\\*";
  WIN32_FIND_DATAW data;
  HANDLE const search = FindFirstFileExW(folder.c_str(), FindExInfoBasic, &data,
                                         FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  folder.resize(length);
  if (search == INVALID_HANDLE_VALUE) {
    return 0;
  }
  do {
    std::wstring_view const name = data.cFileName;
    if (name == L"." || name == L"..") {
      continue;
    }
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      folder.append(L"\\").append(name);
      found += walkBelow(folder);
      folder.resize(length);
    } else {
      found += name.ends_with(L".phl");
    }
  } while (FindNextFileW(search, &data));
  FindClose(search);
  return found;
}

}  // namespace

std::filesystem::path hostPath(fl::filesystem::Path const& path) {
  return path.ustring();
}

std::size_t nativeWalk(fl::filesystem::Path const& root) {
  std::wstring folder = L"\\\\?\\" + fl::i18n::to_wstring(root.ustring());
  return walkBelow(folder);
}

}  // namespace benchmarks
