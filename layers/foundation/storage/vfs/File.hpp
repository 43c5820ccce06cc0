#pragma once

#include "foundation/storage/vfs/StorageProvider.hpp"
#include "machine/api.hpp"

namespace foundation::storage::vfs {

/// A file, there or not. The operations are the provider's, and throw what those throw.
class REGISTRATION_API File {
 public:
  File(AbsoluteIRI iri, StorageSystemReference storage);

  AbsoluteIRI const& iri() const noexcept { return iri_; }
  bool fileExists() const;
  std::string read(std::size_t limit) const;
  void replace(std::string_view content) const;

 private:
  AbsoluteIRI iri_;
  StorageSystemReference storage_;
};

}  // namespace foundation::storage::vfs
