#include "benchmarks/native_walk.hpp"

#include <dirent.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace benchmarks {

namespace {

std::size_t walkBelow(std::string& folder) {
  std::size_t found = 0;
  DIR* const names = opendir(folder.c_str());
  if (names == nullptr) {
    return 0;
  }
  std::size_t const length = folder.size();
  while (dirent const* const entry = readdir(names)) {
    std::string_view const name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    if (entry->d_type == DT_DIR) {
      folder.append("/").append(name);
      found += walkBelow(folder);
      folder.resize(length);
    } else {
      found += name.ends_with(".phl");
    }
  }
  closedir(names);
  return found;
}

}  // namespace

/// The simulated machine keeps drive C in its folder "C".
std::filesystem::path hostPath(fl::filesystem::Path const& path) {
  auto const machine = std::filesystem::temp_directory_path() /
                       ("registration-benchmark-" + std::to_string(getpid()));
  std::string below = fl::i18n::to_string(path.ustring()).substr(3);
  for (char& unit : below) {
    unit = unit == '\\' ? '/' : unit;
  }
  return machine / "C" / below;
}

std::size_t nativeWalk(fl::filesystem::Path const& root) {
  std::string folder = hostPath(root).string();
  return walkBelow(folder);
}

}  // namespace benchmarks
