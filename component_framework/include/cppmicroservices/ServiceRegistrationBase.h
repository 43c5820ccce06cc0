#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "cppmicroservices/GlobalConfig.h"
#include "cppmicroservices/ServiceProperties.h"
#include "cppmicroservices/ServiceReference.h"

namespace cppmicroservices {

/// What the bundle that registered a service holds. Letting go of it changes nothing.
class US_Framework_EXPORT ServiceRegistrationBase {
 public:
  ServiceRegistrationBase(ServiceRegistrationBase const&);
  ServiceRegistrationBase& operator=(ServiceRegistrationBase const&);
  ServiceRegistrationBase& operator=(std::nullptr_t);
  ~ServiceRegistrationBase();

  explicit operator bool() const;

  /// Throws std::logic_error when this is invalid or the service is unregistered.
  ServiceReferenceBase GetReference(std::string const& interfaceId = std::string()) const;
  /// Replaces the properties, those of the framework (objectclass, service.id, service.scope)
  /// stay. Throws as GetReference.
  void SetProperties(ServiceProperties const& properties);
  /// Takes the service out of the registry; who holds its object keeps it. Throws as GetReference.
  void Unregister();

  bool operator<(ServiceRegistrationBase const& other) const;
  bool operator==(ServiceRegistrationBase const& other) const;

 private:
  friend class BundleContext;
  template <class I1, class... Interfaces>
  friend class ServiceRegistration;

  ServiceRegistrationBase();
  explicit ServiceRegistrationBase(std::shared_ptr<RegisteredService> service);

  std::shared_ptr<RegisteredService> service_;
};

}  // namespace cppmicroservices
