#pragma once

#include <string_view>

#include "machine/api.hpp"
#include "machine/error.hpp"
#include "machine/files.hpp"
#include "machine/services.hpp"

/// The service control manager's rules, for providers that run no services themselves.
namespace machine {

/// Before a service is set, as its SystemError: a name of 1 to 256 units without slashes and NULs
/// (invalidName), and a command line (invalidParameter).
REGISTRATION_API void requireService(std::u16string_view name, ServiceDefinition const& definition);

/// Before a service starts, as its SystemError: it is not disabled.
REGISTRATION_API void requireEnabled(std::u16string_view name, ServiceDefinition const& definition);

/// Before a service starts, as its SystemError: its program exists in `files` (fileNotFound). The
/// program of a command line ends at the second quote; without quotes, of all the names up to a
/// blank, it is the first that exists.
REGISTRATION_API void requireProgram(std::u16string_view name, ServiceDefinition const& definition,
                                     Files& files);

/// ERROR_SERVICE_DOES_NOT_EXIST.
REGISTRATION_API SystemError missingService(std::string_view operation, std::u16string_view name);

}  // namespace machine
