#include "bundles/desktopservicesetup/implementation/folder_replacement.hpp"

#include <exception>

#include "fl/filesystem/operations.hpp"
#include "registration/utility/failure_convention.hpp"

namespace desktopservicesetup {

namespace {

using namespace fl::filesystem;

/// For what no failure of may stop: it is told, and put right at the start of the next replacement.
template <typename Step>
void attempt(Path const& folder, Step&& step) noexcept {
  try {
    step();
  } catch (std::exception const& failure) {
    try {
      registration::utility::warn(u"Brantix Service Host setup: " + folder.ustring() +
                                      u" was left: " + fl::i18n::utf8_to_ustring(failure.what()),
                                  folder.ustring());
    } catch (std::exception const&) {
      // Who is told of it fails.
    }
  }
}

void remove(Path const& folder) noexcept {
  attempt(folder, [&] { remove_all(folder); });
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
  desktopservicesetup::remove(staging_);
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
  desktopservicesetup::remove(old_);
}

void FolderReplacement::takeBack() noexcept {
  if (!exchanged_) {
    return;
  }
  exchanged_ = false;
  attempt(old_, [&] {
    remove_all(folder_);
    if (exists(old_)) {
      move(old_, folder_);
    }
  });
}

}  // namespace desktopservicesetup
