#include "benchmarks/native_exists.hpp"

#include <windows.h>

#include <algorithm>

namespace benchmarks {

NativePaths::NativePaths(std::vector<fl::filesystem::Path> const& paths) {
  for (auto const& path : paths) {
    paths_.push_back(fl::i18n::to_wstring(path.ustring()));
  }
}

std::size_t NativePaths::countExisting() const {
  return static_cast<std::size_t>(std::ranges::count_if(paths_, [](std::wstring const& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
  }));
}

}  // namespace benchmarks
