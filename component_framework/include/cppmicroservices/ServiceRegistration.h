#pragma once

#include "cppmicroservices/ServiceRegistrationBase.h"

namespace cppmicroservices {

template <class I1, class... Interfaces>
class ServiceRegistration : public ServiceRegistrationBase {
 public:
  ServiceRegistration() = default;
  using ServiceRegistrationBase::operator=;

  ServiceReference<I1> GetReference() const {
    return ServiceRegistrationBase::GetReference(us_service_interface_iid<I1>());
  }

 private:
  friend class BundleContext;
  // NOLINTNEXTLINE(google-explicit-constructor): as in CppMicroServices
  ServiceRegistration(ServiceRegistrationBase const& base) : ServiceRegistrationBase(base) {}
};

using ServiceRegistrationU = ServiceRegistration<void>;

}  // namespace cppmicroservices
