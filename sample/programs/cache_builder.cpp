// cache_builder.exe: writes manifest_cache.txt beside this program, the names of the folders in
// `bundles` there, one a line in alphabetical order, and "complete" at the end. Exit code 1 when
// there is no bundle.
#include <set>

#include "record.hpp"

namespace {

std::set<std::string> bundles() {
  std::set<std::string> names;
  WIN32_FIND_DATAW found;
  HANDLE const search = FindFirstFileW(sample::besideProgram(L"bundles\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) {
    return names;
  }
  do {
    std::string const name = sample::utf8(found.cFileName);
    bool const isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder && name != "." && name != "..") {
      names.insert(name);
    }
  } while (FindNextFileW(search, &found));
  FindClose(search);
  return names;
}

}  // namespace

int wmain() {
  std::wstring const cache = sample::besideProgram(L"manifest_cache.txt");
  DeleteFileW(cache.c_str());
  auto const names = bundles();
  for (auto const& name : names) {
    sample::appendLines(cache, name + "\n");
  }
  sample::appendLines(cache, "complete\n");
  return names.empty() ? 1 : 0;
}
