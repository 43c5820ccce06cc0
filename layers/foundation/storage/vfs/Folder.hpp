#pragma once

#include "foundation/storage/vfs/StorageProvider.hpp"
#include "machine/api.hpp"

namespace foundation::storage::vfs {

/// A folder, there or not. The operations are the provider's, and throw what those throw.
class REGISTRATION_API Folder {
 public:
  Folder(AbsoluteIRI const& iri, StorageSystemReference storage);

  AbsoluteIRI const& iri() const noexcept { return iri_; }
  bool folderExists() const;
  std::vector<FolderEntry> entries() const;
  void create() const;

 private:
  AbsoluteIRI iri_;
  StorageSystemReference storage_;
};

}  // namespace foundation::storage::vfs
