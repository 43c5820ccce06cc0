#pragma once

#include <vector>

#include "foundation/core/except/Notification.hpp"
#include "foundation/storage/vfs/AbsoluteIRI.hpp"
#include "machine/api.hpp"

namespace Brantix::PathManagement {

/// Writes the search-path definition file, "pathdef.vsc", of one installation. The operations
/// stand in the order of their use, which is part of the interface. Failures of storage are
/// foundation::storage::vfs::Exception.
class REGISTRATION_API IPathdefGenerator {
 public:
  using AbsoluteIRI = foundation::storage::vfs::AbsoluteIRI;
  using Notification = foundation::core::except::Notification;

  virtual ~IPathdefGenerator();

  virtual AbsoluteIRI getPathdefFile() const = 0;
  /// The folder from whose content entries are derived.
  virtual AbsoluteIRI getToolboxFolder() const = 0;
  /// The entries of an existing definition file, in order, repeated ones too. A line that is not
  /// understood is a warning.
  virtual std::vector<AbsoluteIRI> readEntries(AbsoluteIRI const& pathdefFile,
                                               Notification& notification) const = 0;
  /// The entries that the installation asks for, in order, repeated ones too.
  virtual std::vector<AbsoluteIRI> getDerivedEntries(AbsoluteIRI const& toolboxFolder,
                                                     Notification& notification) const = 0;
  /// Makes the folder of the definition file.
  virtual void prepareOutput() const = 0;
  /// Puts a definition file with these entries in the place of the old one at once; the old one
  /// stays when that fails.
  virtual void writeEntries(std::vector<AbsoluteIRI> const& entries) const = 0;
};

}  // namespace Brantix::PathManagement
