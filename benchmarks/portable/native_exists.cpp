#include "benchmarks/native_exists.hpp"

#include <sys/stat.h>

#include <algorithm>

#include "benchmarks/native_walk.hpp"

namespace benchmarks {

NativePaths::NativePaths(std::vector<fl::filesystem::Path> const& paths) {
  for (auto const& path : paths) {
    paths_.push_back(hostPath(path).string());
  }
}

std::size_t NativePaths::countExisting() const {
  return static_cast<std::size_t>(std::ranges::count_if(paths_, [](std::string const& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
  }));
}

}  // namespace benchmarks
