#pragma once

#include "fl/filesystem/path.hpp"

namespace desktopservicesetup {

using fl::filesystem::Path;

/// Puts a folder's new content in its place as a whole, in such a way that the old one can come
/// back: the new content is made beside it, in <folder>.new, and the old one waits in <folder>.old.
/// What an interrupted run left there is put right first.
class FolderReplacement {
 public:
  explicit FolderReplacement(Path const& folder);
  /// Takes back what was not kept.
  ~FolderReplacement();
  FolderReplacement(FolderReplacement const&) = delete;
  FolderReplacement& operator=(FolderReplacement const&) = delete;

  /// Where the new content goes. The folder does not exist yet.
  Path const& staging() const { return staging_; }
  /// The old folder steps aside, the new one takes its place.
  void exchange();
  /// The new one is to stay: the old one goes. What of it cannot be removed goes the next time.
  void keep();
  /// The old one comes back, if there was one, and the new one goes. Throws nothing.
  void takeBack() noexcept;

 private:
  Path folder_;
  Path staging_;
  Path old_;
  bool exchanged_ = false;
};

}  // namespace desktopservicesetup
