#pragma once

#include "cppmicroservices/BundleContext.h"

namespace cppmicroservices {

class US_Framework_EXPORT ServiceObjectsBase {
 public:
  ServiceObjectsBase(ServiceObjectsBase const&) = delete;
  ServiceObjectsBase& operator=(ServiceObjectsBase const&) = delete;
  ServiceObjectsBase(ServiceObjectsBase&&) noexcept;
  ServiceObjectsBase& operator=(ServiceObjectsBase&&) noexcept;

 protected:
  /// Throws std::invalid_argument for an invalid reference.
  ServiceObjectsBase(std::shared_ptr<BundleContextPrivate> const& context,
                     ServiceReferenceBase const& reference);
  ~ServiceObjectsBase();
  std::shared_ptr<void> GetService() const;
  ServiceReferenceBase GetReference() const;

 private:
  std::shared_ptr<BundleContextPrivate> context_;
  ServiceReferenceBase reference_;
};

/// Gets the object of one service.
template <class S>
class ServiceObjects : private ServiceObjectsBase {
 public:
  /// Shared with the bundle that registered it. Null when the service is unregistered.
  std::shared_ptr<S> GetService() const {
    return std::static_pointer_cast<S>(ServiceObjectsBase::GetService());
  }
  ServiceReference<S> GetServiceReference() const { return ServiceObjectsBase::GetReference(); }

 private:
  friend class BundleContext;
  ServiceObjects(std::shared_ptr<BundleContextPrivate> const& context,
                 ServiceReference<S> const& reference)
      : ServiceObjectsBase(context, reference) {}
};

}  // namespace cppmicroservices
