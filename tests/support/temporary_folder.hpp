#pragma once

#include <filesystem>
#include <string>

namespace tests {

/// A new, empty folder of the host, removed with everything in it at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    auto const base = std::filesystem::temp_directory_path();
    for (int i = 0;; ++i) {
      path_ = base / ("registration-test-" + std::to_string(i));
      if (std::filesystem::create_directory(path_)) return;
    }
  }
  ~TemporaryFolder() {
    std::error_code unused;
    std::filesystem::remove_all(path_, unused);
  }
  TemporaryFolder(TemporaryFolder const&) = delete;
  TemporaryFolder& operator=(TemporaryFolder const&) = delete;

  std::filesystem::path const& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace tests
