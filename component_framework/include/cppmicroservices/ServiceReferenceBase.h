#pragma once

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cppmicroservices/Any.h"
#include "cppmicroservices/GlobalConfig.h"

namespace cppmicroservices {

class Bundle;
class RegisteredService;

/// Names a registered service without holding its object. Stays as it is when the service goes; it
/// is then invalid.
class US_Framework_EXPORT ServiceReferenceBase {
 public:
  ServiceReferenceBase(ServiceReferenceBase const&);
  ServiceReferenceBase& operator=(ServiceReferenceBase const&);
  ServiceReferenceBase& operator=(std::nullptr_t);
  ~ServiceReferenceBase();

  /// Whether the service is still registered.
  explicit operator bool() const;

  /// Empty when the service has no such property. Names are compared without regard to case.
  Any GetProperty(std::string const& key) const;
  std::vector<std::string> GetPropertyKeys() const;
  /// The bundle that registered it; an invalid bundle when it is not registered any more.
  Bundle GetBundle() const;
  /// The interface this reference was looked up by.
  std::string GetInterfaceId() const;
  /// Whether the service is registered and offers that interface.
  bool IsConvertibleTo(std::string const& interfaceId) const;

  /// Orders by service.ranking, the lowest first, and among equals the youngest first: the greatest
  /// is the one that is found first.
  bool operator<(ServiceReferenceBase const& other) const;
  bool operator==(ServiceReferenceBase const& other) const;

 private:
  friend class BundleContext;
  friend class Bundle;
  friend class ServiceObjectsBase;
  friend class ServiceRegistrationBase;
  template <class S>
  friend class ServiceReference;

  ServiceReferenceBase();
  ServiceReferenceBase(std::shared_ptr<RegisteredService> service, std::string interfaceId);
  std::size_t Hash() const;
  void SetInterfaceId(std::string const& interfaceId);

  std::shared_ptr<RegisteredService> service_;
  std::string interfaceId_;
};

US_Framework_EXPORT std::ostream& operator<<(std::ostream& out, ServiceReferenceBase const& ref);

}  // namespace cppmicroservices
