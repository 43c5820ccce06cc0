#pragma once

#include <filesystem>
#include <mutex>
#include <vector>

#include "machine/error.hpp"
#include "machine/unicode.hpp"

namespace machine::simulated {

/// Where a Windows path lies on the host.
struct Place {
  /// success, also when only the last name is missing; else why there is no such place.
  ErrorCode problem = ErrorCode::success;
  std::filesystem::path host;           ///< where it is, or would be
  std::filesystem::file_status status;  ///< of the place itself, a link not followed
  bool isRoot = false;                  ///< a drive or a share
  bool isBehindLink = false;            ///< a link on the way was followed

  bool exists() const { return problem == ErrorCode::success && std::filesystem::exists(status); }
  bool isLink() const { return std::filesystem::is_symlink(status); }
};

/// A host folder that holds drives (`C/...`) and shares (`UNC/srv/share/...`), and how Windows
/// names lead to what is in it: without regard to case, and never out of it. A drive or share
/// exists when its folder does.
class HostTree {
 public:
  explicit HostTree(std::filesystem::path directory) : directory_(std::move(directory)) {}

  /// Follows links that stay inside, but for the last name's. REQUIRES: `path` is absolute.
  Place find(std::u16string_view path) const;
  /// The same, but a link in the last place is followed too.
  Place findTarget(std::u16string_view path) const;

  /// What a link of the host holds, as the machine names it: `../a` -> `..\a`, what lies on a drive
  /// by its absolute path; other absolute paths of the host as they are.
  UString machineName(std::filesystem::path const& linkTarget) const;
  /// The reverse.
  std::filesystem::path hostName(std::u16string_view linkTarget) const;

  /// Both on one drive or share. REQUIRES: both are absolute.
  bool sameVolume(std::u16string_view a, std::u16string_view b) const;

 private:
  /// The way to the folder that the last search came to, without a link on it. A tree is mostly
  /// gone through folder by folder: each is found from the one before, not from the root again.
  struct Trail {
    std::mutex mutex;
    std::vector<UString> names;
    std::filesystem::path folder;
  };
  Place startOnTrail(std::vector<std::u16string_view> const& names) const;
  Place step(Place const& folder, std::u16string_view name) const;
  Place follow(Place const& link) const;
  std::filesystem::path directory_;
  mutable Trail trail_;
};

/// A place as Windows' attributes tell it: a link to a folder is a folder.
bool isFolder(std::filesystem::path const& host, std::filesystem::file_status const& status);

}  // namespace machine::simulated
