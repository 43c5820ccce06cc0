#pragma once

#include <string>

#include "cppmicroservices/GlobalConfig.h"

/// Names of manifest headers, service properties and the system bundle.
namespace cppmicroservices::Constants {

US_Framework_EXPORT extern std::string const SYSTEM_BUNDLE_LOCATION;      // "System Bundle"
US_Framework_EXPORT extern std::string const SYSTEM_BUNDLE_SYMBOLICNAME;  // "system_bundle"
US_Framework_EXPORT extern std::string const BUNDLE_ACTIVATOR;            // "bundle.activator"
US_Framework_EXPORT extern std::string const BUNDLE_SYMBOLICNAME;         // "bundle.symbolic_name"
US_Framework_EXPORT extern std::string const BUNDLE_VERSION;              // "bundle.version"
/// "objectclass": a service's interface ids, a std::vector<std::string>.
US_Framework_EXPORT extern std::string const OBJECTCLASS;
/// "service.id": a long, given in the order of registration.
US_Framework_EXPORT extern std::string const SERVICE_ID;
/// "service.ranking": an int, 0 when not given; the highest is found first.
US_Framework_EXPORT extern std::string const SERVICE_RANKING;
/// "service.scope": always "singleton".
US_Framework_EXPORT extern std::string const SERVICE_SCOPE;
US_Framework_EXPORT extern std::string const SCOPE_SINGLETON;

}  // namespace cppmicroservices::Constants
