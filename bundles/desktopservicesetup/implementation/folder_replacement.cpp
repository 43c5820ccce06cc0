#include "bundles/desktopservicesetup/implementation/folder_replacement.hpp"

#include <exception>

#include "fl/filesystem/operations.hpp"

namespace desktopservicesetup {

namespace {

using namespace fl::filesystem;

void removeQuietly(Path const& folder) noexcept {
  try {
    remove_all(folder);
  } catch (std::exception const&) {
    // It is removed at the start of the next replacement.
  }
}

void move(Path const& from, Path const& to) {
  rename(from.ustring(), to.ustring(), rename_options::keep_existing);
}

}  // namespace

FolderReplacement::FolderReplacement(Path const& folder)
    : folder_(folder), staging_(folder.ustring() + u".new"), old_(folder.ustring() + u".old") {
  remove_all(staging_);
  if (exists(old_) && !exists(folder_)) {
    move(old_, folder_);
  }
  remove_all(old_);
}

FolderReplacement::~FolderReplacement() {
  takeBack();
  removeQuietly(staging_);
}

void FolderReplacement::exchange() {
  if (exists(folder_)) {
    move(folder_, old_);
  }
  exchanged_ = true;
  move(staging_, folder_);
}

void FolderReplacement::keep() {
  exchanged_ = false;
  removeQuietly(old_);
}

void FolderReplacement::takeBack() noexcept {
  if (!exchanged_) {
    return;
  }
  exchanged_ = false;
  try {
    remove_all(folder_);
    if (exists(old_)) {
      move(old_, folder_);
    }
  } catch (std::exception const&) {
    // The old folder waits beside it for the next replacement.
  }
}

}  // namespace desktopservicesetup
