#include "foundation/storage/vfs/Folder.hpp"

#include <utility>

namespace foundation::storage::vfs {

Folder::Folder(AbsoluteIRI const& iri, StorageSystemReference storage)
    : iri_(iri), storage_(std::move(storage)) {}

bool Folder::folderExists() const {
  return storage_->folderExists(iri_);
}

std::vector<FolderEntry> Folder::entries() const {
  return storage_->entries(iri_);
}

void Folder::create() const {
  storage_->createFolder(iri_);
}

}  // namespace foundation::storage::vfs
