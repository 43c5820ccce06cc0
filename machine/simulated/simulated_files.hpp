#pragma once

#include <filesystem>

#include "machine/files.hpp"
#include "machine/simulated/host_tree.hpp"

namespace machine::simulated {

/// Files and folders of a machine kept in a host folder. The current folder is this object's own.
/// The host's limits on names apply too, counted from the folder's own path: on Linux 255 bytes of
/// UTF-8 a name and about 4,000 a path, on Windows 260 units a path.
class SimulatedFiles final : public Files {
 public:
  explicit SimulatedFiles(std::filesystem::path directory) : tree_(std::move(directory)) {}

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
  /// The host keeps the read-only attribute and the time of the last write; no others.
  void setAttributes(std::u16string_view path, FileAttributes const& attributes) override;
  std::optional<Link> link(std::u16string_view path) override;
  void createLink(std::u16string_view path, Link const& link) override;
  UString currentDirectory() override;
  bool setCurrentDirectory(std::u16string_view path) override;
  std::optional<FileVersion> fileVersion(std::u16string_view path) override;
  std::unique_ptr<FileLock> lock(std::u16string_view path,
                                 std::chrono::milliseconds limit) override;

  struct Operation;

 private:
  /// `path`, absolute, is how the place was found.
  void requireOwnWay(Operation const& operation, Place const& place, std::u16string_view path);
  /// False when it is there already.
  bool makeDirectory(Operation const& operation, std::u16string_view path);
  UString absolute(std::u16string_view path) const;
  HostTree tree_;
  UString currentFolder_ = u"C:\\";
};

}  // namespace machine::simulated
