#pragma once

#include "machine/overlay/file_locks.hpp"
#include "machine/overlay/file_tree.hpp"

namespace machine::overlay {

/// Files that are read from another machine until they are changed, and changed in memory. Moving
/// an inner file or folder keeps where it came from and copies nothing; of an inner file that is
/// appended to, only what is appended is kept.
///
/// What stands under two names is two things here: what is written through a link, or under a short
/// name (PROGRA~1), is seen under that name only. Rights and free space are not looked at, nor are
/// streams within files (`file:stream`) known.
class OverlayFiles final : public Files {
 public:
  /// `inner` must outlive this object. Its current folder is the one to start in.
  explicit OverlayFiles(Files& inner);

  std::optional<FileStatus> status(std::u16string_view path) override;
  std::unique_ptr<DirectoryStream> openDirectory(std::u16string_view path) override;
  std::unique_ptr<FileReader> openForReading(std::u16string_view path) override;
  std::unique_ptr<FileWriter> openForWriting(std::u16string_view path, WriteMode mode) override;
  void createDirectory(std::u16string_view path) override;
  Claim claimDirectory(std::u16string_view path) override;
  ForeignAccess foreignAccess(std::u16string_view path) override;
  bool removeFile(std::u16string_view path) override;
  bool removeDirectory(std::u16string_view path) override;
  void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) override;
  void setAttributes(std::u16string_view path, FileAttributes const& attributes) override;
  std::optional<Link> link(std::u16string_view path) override;
  /// An error (notSupported): memory holds no links.
  void createLink(std::u16string_view path, Link const& link) override;
  UString currentDirectory() override { return currentFolder_; }
  bool setCurrentDirectory(std::u16string_view path) override;
  std::optional<FileVersion> fileVersion(std::u16string_view path) override;
  /// Holds against other locks of this overlay only.
  std::unique_ptr<FileLock> lock(std::u16string_view path,
                                 std::chrono::milliseconds limit) override;

  /// The inner file whose bytes a path stands for; nullopt for what was written or is not there.
  std::optional<UString> innerFile(std::u16string_view path);

  /// How many names memory knows, and how many written bytes it holds.
  std::size_t names() const { return tree_.names(); }
  std::uint64_t bytes() const { return tree_.bytes(); }

 private:
  UString absolute(std::u16string_view path) const;
  std::uint64_t sizeByReading(UString const& innerFile);
  std::shared_ptr<WrittenContent> contentFor(UString const& path, Place const& place,
                                             FileStatus const& status, WriteMode mode);

  Files& inner_;
  FileTree tree_;
  UString currentFolder_;
  FileLocks locks_;
};

}  // namespace machine::overlay
