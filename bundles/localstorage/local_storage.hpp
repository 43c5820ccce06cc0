#pragma once

#include "foundation/storage/vfs/StorageProvider.hpp"

namespace localstorage {

using foundation::storage::vfs::AbsoluteIRI;

/// Serves file IRIs from the current machine's drives and the shares that it reaches. Failures
/// carry the Windows path and what the system's error means (system_errors.hpp).
class LocalStorage final : public foundation::storage::vfs::StorageProvider {
 public:
  bool fileExists(AbsoluteIRI const& file) const override;
  bool folderExists(AbsoluteIRI const& folder) const override;
  std::vector<foundation::storage::vfs::FolderEntry> entries(
      AbsoluteIRI const& folder) const override;
  std::string read(AbsoluteIRI const& file, std::size_t limit) const override;
  void createFolder(AbsoluteIRI const& folder) const override;
  /// Writes beside the file, under its name and ".tmp". A link in the file's place is replaced
  /// itself; a read-only file is not replaced: permissionDenied. A folder in its place is
  /// invalidLocation.
  void replace(AbsoluteIRI const& file, std::string_view content) const override;
};

}  // namespace localstorage
