#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cppmicroservices/GlobalConfig.h"
#include "cppmicroservices/ServiceInterface.h"
#include "cppmicroservices/ServiceProperties.h"
#include "cppmicroservices/ServiceReference.h"
#include "cppmicroservices/ServiceRegistration.h"

namespace cppmicroservices {

class Bundle;
class BundleContextPrivate;
template <class S>
class ServiceObjects;

/// How a bundle reaches the framework: valid from its start to its stop. Every operation of one
/// that is not valid throws std::runtime_error "The bundle context is no longer valid". May be used
/// by several threads at once.
class US_Framework_EXPORT BundleContext {
 public:
  BundleContext();

  explicit operator bool() const;
  BundleContext& operator=(std::nullptr_t);
  bool operator==(BundleContext const& other) const;
  bool operator<(BundleContext const& other) const;

  Bundle GetBundle() const;
  /// An invalid bundle when there is none of that id.
  Bundle GetBundle(long id) const;
  std::vector<Bundle> GetBundles(std::string const& location) const;
  std::vector<Bundle> GetBundles() const;

  /// Installs the bundle in a DLL: its manifest is read, no code of it runs. `location` is its
  /// absolute path in UTF-8; a bundle that is installed from there already is returned as it is.
  /// Throws std::runtime_error: "... does not exist"; "Could not init zip archive for bundle at
  /// ..." for a file that holds no bundle; "Failed to install bundle library at ..." for a bundle
  /// whose manifest is unusable, or whose symbolic name and version another one has.
  std::vector<Bundle> InstallBundles(std::string const& location);

  /// Throws std::invalid_argument for an empty map, a null object, or a service.ranking that is no
  /// int; std::runtime_error for property names that differ in case only.
  [[nodiscard]] ServiceRegistrationU RegisterService(
      InterfaceMapConstPtr const& service,
      ServiceProperties const& properties = ServiceProperties());
  template <class I1, class... Interfaces, class Implementation>
  ServiceRegistration<I1, Interfaces...> RegisterService(
      std::shared_ptr<Implementation> const& object,
      ServiceProperties const& properties = ServiceProperties()) {
    InterfaceMapConstPtr const map = MakeInterfaceMap<I1, Interfaces...>(object);
    return ServiceRegistration<I1, Interfaces...>(RegisterService(map, properties));
  }

  /// Services of an interface (of any when its id is empty) that match an LDAP filter (all when it
  /// is empty), the highest ranked first, among equals the oldest. Throws std::invalid_argument
  /// for a malformed filter.
  std::vector<ServiceReferenceU> GetServiceReferences(std::string const& interfaceId,
                                                      std::string const& filter = std::string());
  template <class S>
  std::vector<ServiceReference<S>> GetServiceReferences(std::string const& filter = std::string()) {
    auto const found = GetServiceReferences(requiredId<S>(), filter);
    return {found.begin(), found.end()};
  }

  /// The first of them; an invalid reference when there is none.
  ServiceReferenceU GetServiceReference(std::string const& interfaceId);
  template <class S>
  ServiceReference<S> GetServiceReference() {
    return ServiceReference<S>(GetServiceReference(requiredId<S>()));
  }

  /// The service's object; null when it is unregistered. Throws std::invalid_argument for a
  /// reference to nothing.
  std::shared_ptr<void> GetService(ServiceReferenceBase const& reference);
  /// Its objects by interface id.
  InterfaceMapConstPtr GetService(ServiceReferenceU const& reference);
  template <class S>
  std::shared_ptr<S> GetService(ServiceReference<S> const& reference) {
    ServiceReferenceBase const& base = reference;
    return std::static_pointer_cast<S>(GetService(base));
  }
  template <class S>
  ServiceObjects<S> GetServiceObjects(ServiceReference<S> const& reference) {
    if (!d) {
      throw std::runtime_error("The bundle context is no longer valid");
    }
    return ServiceObjects<S>(d, reference);
  }

 private:
  friend class Bundle;
  friend US_Framework_EXPORT BundleContext MakeBundleContext(BundleContextPrivate* context);

  explicit BundleContext(std::shared_ptr<BundleContextPrivate> context);

  template <class S>
  static std::string const& requiredId() {
    auto const& id = us_service_interface_iid<S>();
    if (id.empty()) {
      throw ServiceException(
          "The service interface class has no CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro");
    }
    return id;
  }

  std::shared_ptr<BundleContextPrivate> d;
};

US_Framework_EXPORT BundleContext MakeBundleContext(BundleContextPrivate* context);

}  // namespace cppmicroservices
