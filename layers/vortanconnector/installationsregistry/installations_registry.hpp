#pragma once

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

/// The machine's registry of installations of the product, a JSON file that other programs may
/// read: `Brantix\Installations\installations.json` below the machine's ProgramData folder, in the
/// format of installations.schema.json.
namespace vortanconnector::installationsregistry {

using fl::filesystem::Path;
using fl::filesystem::UString;

/// Records the installation at `installationRoot`, with the time. A root that is recorded already,
/// in whatever spelling, stays as it was recorded first. True when the record is there.
///
/// `registryNameOverride` names another registry: the file `<name>.json` in the same folder. Empty
/// for the usual one. False, with nothing touched, for a name that is no plain file name and for a
/// root that is no absolute path.
///
/// Writers wait for each other, up to 10 seconds; the file is replaced at once, so that a reader
/// finds the old or the new text whatever happens to a writer. Only administrators may write in the
/// folder and open the lock; where others could, that is changed and told as a warning. Throws
/// std::runtime_error: for a failure of the system, for a link where the registry's folder or file
/// should be, for one that belongs to another account, and for a file that is damaged or of a newer
/// format, which stays as it is.
REGISTRATION_API bool addVortanRecord(Path const& installationRoot,
                                      UString const& registryNameOverride);

}  // namespace vortanconnector::installationsregistry
