#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cppmicroservices/AnyMap.h"
#include "cppmicroservices/BundleVersion.h"
#include "cppmicroservices/GlobalConfig.h"
#include "cppmicroservices/ServiceReference.h"

namespace cppmicroservices {

class BundleContext;
class BundlePrivate;
class CoreBundleContext;

/// A component installed into a framework. Copies stand for the same component; the framework keeps
/// it when they go. Every operation on an invalid one throws std::invalid_argument. May be used by
/// several threads at once.
class US_Framework_EXPORT Bundle {
 public:
  enum State : std::uint32_t {
    STATE_UNINSTALLED = 0x01,
    STATE_INSTALLED = 0x02,
    STATE_RESOLVED = 0x04,
    STATE_STARTING = 0x08,
    STATE_STOPPING = 0x10,
    STATE_ACTIVE = 0x20
  };
  /// Without effect here: a framework that was stopped starts no bundle by itself.
  enum StartOptions : std::uint32_t { START_TRANSIENT = 0x1, START_ACTIVATION_POLICY = 0x2 };
  enum StopOptions : std::uint32_t { STOP_TRANSIENT = 0x1 };

  Bundle();  ///< invalid
  Bundle(Bundle const&);
  Bundle(Bundle&&) noexcept;
  Bundle& operator=(Bundle const&);
  Bundle& operator=(Bundle&&) noexcept;
  Bundle& operator=(std::nullptr_t);
  virtual ~Bundle();

  explicit operator bool() const;
  bool operator==(Bundle const& other) const;
  bool operator<(Bundle const& other) const;  ///< by id

  State GetState() const;
  /// An invalid context unless the bundle is starting, active or stopping.
  BundleContext GetBundleContext() const;
  /// 0 for the framework itself, then in the order of installation.
  long GetBundleId() const;
  std::string GetLocation() const;
  std::string GetSymbolicName() const;
  BundleVersion GetVersion() const;
  /// The manifest: texts, bool, int, double, lists (std::vector<Any>) and objects (AnyMap).
  AnyMap const& GetHeaders() const;
  std::vector<ServiceReferenceU> GetRegisteredServices() const;

  /// Loads the DLL and calls its activator, when the manifest says "bundle.activator": true.
  /// Nothing when it is active. Throws std::runtime_error when it cannot be loaded, lacks the
  /// activator or the activator throws; its services are then unregistered and it is not active.
  /// Throws std::logic_error when it is uninstalled.
  void Start(std::uint32_t options);
  void Start();
  /// Calls the activator, then unregisters what services are left. Nothing when it is not active.
  /// Throws std::runtime_error when the activator throws; the bundle is stopped all the same. The
  /// DLL stays loaded: who holds a service's object can go on using it.
  void Stop(std::uint32_t options);
  void Stop();
  /// Stops it and forgets it.
  void Uninstall();

 protected:
  explicit Bundle(std::shared_ptr<BundlePrivate> const& bundle);

  std::shared_ptr<BundlePrivate> d;
  std::shared_ptr<CoreBundleContext> c;  ///< keeps the framework

 private:
  friend class CoreBundleContext;
  friend Bundle MakeBundle(std::shared_ptr<BundlePrivate> const& bundle);
};

US_Framework_EXPORT std::ostream& operator<<(std::ostream& out, Bundle const& bundle);
US_Framework_EXPORT std::ostream& operator<<(std::ostream& out, Bundle::State state);

}  // namespace cppmicroservices
