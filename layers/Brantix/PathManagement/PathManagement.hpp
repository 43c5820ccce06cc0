#pragma once

#include <memory>
#include <vector>

#include "Brantix/PathManagement/IPathdefGenerator.hpp"
#include "foundation/storage/vfs/CanonicalAbsoluteIRI.hpp"
#include "machine/api.hpp"

/// The search path of the product.
namespace Brantix::PathManagement {

using foundation::storage::vfs::AbsoluteIRI;
using foundation::storage::vfs::CanonicalAbsoluteIRI;

/// The IRI of a folder given by its Windows path, a relative one taken from the current folder, or
/// by its IRI. Throws foundation::storage::vfs::Exception, invalidLocation, for any other text.
REGISTRATION_API AbsoluteIRI GetIRIFromString(fl::i18n::UString const& folder);

/// A generator for the installation in `root`, over the product's storage system, which must be
/// running (Brantix::VortanStorageSystem).
///
/// The definition file is `sys\path\pathdef.vsc` in the root; pathdef_text.hpp tells its format.
/// Entries are derived, in this order, from
///
/// - the metadata file `ssiSearchFolders` in the root, folder by folder: relative ones are taken
///   from the root;
/// - `toolbox` in the root and the folders below it, each that holds a file with the extension
///   "vt", a folder before those in it, these in the order of their names. Links are not entered.
///
/// A folder that cannot be named or listed, and a line of the metadata file that is not UTF-8, is a
/// warning. Of both files 16 MiB are read; a larger one is an Exception, fileTooLarge.
REGISTRATION_API std::shared_ptr<IPathdefGenerator> CreatePathdefGenerator(
    CanonicalAbsoluteIRI&& root);

/// The list with each folder once, at its first place. Compared are canonical forms without regard
/// to case (machine::foldCase tells which letters); what has none counts as it is written. Takes
/// the content of `iris`.
REGISTRATION_API std::vector<AbsoluteIRI> RemoveDuplicateIris(std::vector<AbsoluteIRI>& iris);

}  // namespace Brantix::PathManagement
