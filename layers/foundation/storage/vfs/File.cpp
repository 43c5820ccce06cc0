#include "foundation/storage/vfs/File.hpp"

#include <utility>

namespace foundation::storage::vfs {

File::File(AbsoluteIRI iri, StorageSystemReference storage)
    : iri_(std::move(iri)), storage_(std::move(storage)) {}

bool File::fileExists() const {
  return storage_->fileExists(iri_);
}

std::string File::read(std::size_t limit) const {
  return storage_->read(iri_, limit);
}

void File::replace(std::string_view content) const {
  storage_->replace(iri_, content);
}

}  // namespace foundation::storage::vfs
