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
  bool removeFile(std::u16string_view path) override;
  bool removeDirectory(std::u16string_view path) override;
  void rename(std::u16string_view from, std::u16string_view to, bool replaceExisting) override;
  void setReadOnly(std::u16string_view path, bool readOnly) override;
  UString currentDirectory() override;
  bool setCurrentDirectory(std::u16string_view path) override;
  std::optional<FileVersion> fileVersion(std::u16string_view path) override;
  std::unique_ptr<FileLock> lock(std::u16string_view path,
                                 std::chrono::milliseconds limit) override;

 private:
  UString absolute(std::u16string_view path) const;
  HostTree tree_;
  UString currentFolder_ = u"C:\\";
};

}  // namespace machine::simulated
