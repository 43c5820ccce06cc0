#pragma once

#include <vector>

#include "fl/filesystem/path.hpp"
#include "machine/api.hpp"

namespace cppmicroservices {
class Bundle;
class Framework;
}  // namespace cppmicroservices

/// The product's component framework. Callers include cppmicroservices/Bundle.h or Framework.h for
/// what they do with the results.
namespace foundation::cppmicroservices {

/// Installs every bundle that lies directly in the folder, in the order of the file names, and then
/// starts them all. A relative folder is taken from the current one. DLLs that are no bundles are
/// passed over; a bundle that is installed already is started when it is not active. A bundle that
/// fails to start leaves those before it running.
///
/// The current machine is told what is about to be loaded. One that runs no foreign code, such as
/// a simulated one, keeps that in its record; nothing is loaded then and the result is empty.
///
/// Throws std::runtime_error (machine::SystemError among them) for a folder that is missing or
/// cannot be read, and for a bundle that cannot be installed or started.
REGISTRATION_API std::vector<::cppmicroservices::Bundle> installAndStart(
    fl::filesystem::basic_path const& folder);

/// The process's framework: created and started by the first call, stopped when the process ends,
/// the bundles in the reverse order of their installation. Any thread may call.
REGISTRATION_API ::cppmicroservices::Framework getFramework();

}  // namespace foundation::cppmicroservices
