#pragma once

#include "Brantix/PathManagement/IPathdefGenerator.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "foundation/storage/vfs/StorageProvider.hpp"

namespace Brantix::PathManagement {

/// What CreatePathdefGenerator makes.
class PathdefGenerator final : public IPathdefGenerator {
 public:
  PathdefGenerator(foundation::storage::vfs::CanonicalAbsoluteIRI root,
                   foundation::storage::vfs::StorageSystemReference storage);

  AbsoluteIRI getPathdefFile() const override;
  AbsoluteIRI getToolboxFolder() const override;
  std::vector<AbsoluteIRI> readEntries(AbsoluteIRI const& pathdefFile,
                                       Notification& notification) const override;
  std::vector<AbsoluteIRI> getDerivedEntries(AbsoluteIRI const& toolboxFolder,
                                             Notification& notification) const override;
  void prepareOutput() const override;
  void writeEntries(std::vector<AbsoluteIRI> const& entries) const override;

 private:
  void addMetadataEntries(std::vector<AbsoluteIRI>& entries, Notification& notification) const;

  foundation::storage::vfs::CanonicalAbsoluteIRI root_;
  foundation::storage::vfs::StorageSystemReference storage_;
};

}  // namespace Brantix::PathManagement
