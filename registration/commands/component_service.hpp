#pragma once

#include <memory>
#include <stdexcept>

#include "cppmicroservices/Bundle.h"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/LDAPFilter.h"
#include "cppmicroservices/ServiceObjects.h"
#include "foundation/cppmicroservices/framework.hpp"

namespace registration::commands {

/// The service of this interface that the component framework ranks first. Throws
/// std::runtime_error when there is none.
template <class Interface>
std::shared_ptr<Interface> componentService() {
  auto context = foundation::cppmicroservices::getFramework().GetBundleContext();
  cppmicroservices::LDAPFilter const noFilter;
  for (auto const& reference : context.GetServiceReferences<Interface>(noFilter.ToString())) {
    if (reference) {  // convertible to the interface, and not unregistered meanwhile
      if (auto service = context.GetServiceObjects(reference).GetService()) {
        return service;
      }
    }
  }
  throw std::runtime_error("no bundle offers the service " + us_service_interface_iid<Interface>());
}

}  // namespace registration::commands
