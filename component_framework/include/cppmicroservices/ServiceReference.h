#pragma once

#include <functional>

#include "cppmicroservices/ServiceInterface.h"
#include "cppmicroservices/ServiceReferenceBase.h"

namespace cppmicroservices {

/// A reference to a service of interface S; of any interface when S is void. Made from a reference
/// to a service without that interface it is invalid.
template <class S>
class ServiceReference : public ServiceReferenceBase {
 public:
  using ServiceType = S;

  ServiceReference() = default;
  ServiceReference(ServiceReferenceBase const& base)  // NOLINT: so in the framework's interface
      : ServiceReferenceBase(base) {
    auto const& wanted = us_service_interface_iid<S>();
    if (wanted.empty() || GetInterfaceId() == wanted) {
      return;
    }
    if (IsConvertibleTo(wanted)) {
      SetInterfaceId(wanted);
    } else {
      ServiceReferenceBase::operator=(nullptr);
    }
  }
  using ServiceReferenceBase::operator=;
  bool operator==(ServiceReference const& other) const {
    return ServiceReferenceBase::operator==(other);
  }
  using ServiceReferenceBase::Hash;
};

using ServiceReferenceU = ServiceReference<void>;

}  // namespace cppmicroservices

template <class S>
struct std::hash<cppmicroservices::ServiceReference<S>> {
  std::size_t operator()(cppmicroservices::ServiceReference<S> const& reference) const {
    return reference.Hash();
  }
};
