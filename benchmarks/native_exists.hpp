#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fl/filesystem/path.hpp"

namespace benchmarks {

/// Paths in the form that the host's own calls take.
class NativePaths {
 public:
  explicit NativePaths(std::vector<fl::filesystem::Path> const& paths);
  /// How many of them exist, with nothing but the host's own calls.
  std::size_t countExisting() const;

 private:
#if defined(_WIN32)
  std::vector<std::wstring> paths_;
#else
  std::vector<std::string> paths_;
#endif
};

}  // namespace benchmarks
