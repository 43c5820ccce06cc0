#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/storage/vfs/AbsoluteIRI.hpp"

namespace foundation::storage::vfs {

/// A name in a folder.
struct FolderEntry {
  UString name;
  bool isFolder = false;
  bool isLink = false;  ///< stands for another file or folder
};

/// Who serves the files and folders that IRIs name: a service of the component framework,
/// registered under this class's name. The order of the virtual operations is part of the
/// interface.
///
/// Every operation throws Exception, invalidLocation for an IRI that is not the provider's.
class StorageProvider {
 public:
  virtual ~StorageProvider() = default;

  /// A file of that name, or a link that leads to one. True also when it may not be read.
  virtual bool fileExists(AbsoluteIRI const& file) const = 0;
  /// A folder of that name, or a link that leads to one. True also when it may not be listed.
  virtual bool folderExists(AbsoluteIRI const& folder) const = 0;
  /// What is directly in a folder, in the provider's order.
  virtual std::vector<FolderEntry> entries(AbsoluteIRI const& folder) const = 0;
  /// The whole content; fileTooLarge when it is more than `limit` bytes.
  virtual std::string read(AbsoluteIRI const& file, std::size_t limit) const = 0;
  /// Makes the folder and those above it; nothing when it exists.
  virtual void createFolder(AbsoluteIRI const& folder) const = 0;
  /// Puts a file with this content in the place of another at once, or makes it. Whatever fails,
  /// the old file is as it was, and nothing else is left behind.
  virtual void replace(AbsoluteIRI const& file, std::string_view content) const = 0;
};

/// The storage system, as files and folders are given it: shared, never null.
using StorageSystemReference = std::shared_ptr<StorageProvider const>;

}  // namespace foundation::storage::vfs
