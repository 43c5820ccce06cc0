#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "cppmicroservices/AnyMap.h"
#include "cppmicroservices/Bundle.h"
#include "cppmicroservices/BundleActivator.h"
#include "cppmicroservices/BundleContext.h"
#include "cppmicroservices/BundleVersion.h"
#include "cppmicroservices/ServiceInterface.h"
#include "library.hpp"

/// What stands behind the public classes. A framework owns its bundles; bundles and services know
/// their framework weakly.
///
/// Locks, in the order in which they may be taken: the framework's operation, a bundle's operation
/// (both held while activators run), the registry, a service. No foreign code runs under the last
/// two.
namespace cppmicroservices {

class CoreBundleContext;

/// One registered service. What is behind `lock` goes when it is unregistered, but for the
/// properties.
class RegisteredService {
 public:
  RegisteredService(std::shared_ptr<CoreBundleContext> const& core,
                    std::shared_ptr<BundlePrivate> const& bundle, InterfaceMapConstPtr interfaces,
                    ServiceProperties const& properties, long id);

  /// Null when unregistered.
  std::shared_ptr<BundlePrivate> bundle() const;
  InterfaceMapConstPtr interfaces() const;
  AnyMap properties() const;
  Any property(std::string const& name) const;
  std::shared_ptr<CoreBundleContext> core() const { return core_.lock(); }
  std::vector<std::string> const& interfaceIds() const { return interfaceIds_; }

  void setProperties(ServiceProperties const& properties);
  void retire();

  /// Whether a look-up finds this one before the other.
  bool precedes(RegisteredService const& other) const;

 private:
  AnyMap complete(ServiceProperties const& properties) const;

  std::weak_ptr<CoreBundleContext> const core_;
  long const id_;
  std::vector<std::string> interfaceIds_;
  std::atomic<int> ranking_ = 0;
  mutable std::mutex lock_;
  std::weak_ptr<BundlePrivate> bundle_;
  InterfaceMapConstPtr interfaces_;
  AnyMap properties_;
};

class BundleContextPrivate : public std::enable_shared_from_this<BundleContextPrivate> {
 public:
  BundleContextPrivate(std::weak_ptr<CoreBundleContext> core, std::weak_ptr<BundlePrivate> bundle)
      : core_(std::move(core)), bundle_(std::move(bundle)) {}

  bool isValid() const { return valid_ && !bundle_.expired() && !core_.expired(); }
  void invalidate() { valid_ = false; }
  /// These throw std::runtime_error when the context is not valid.
  std::shared_ptr<CoreBundleContext> core() const;
  std::shared_ptr<BundlePrivate> bundle() const;

 private:
  std::weak_ptr<CoreBundleContext> const core_;
  std::weak_ptr<BundlePrivate> const bundle_;
  std::atomic<bool> valid_ = true;
};

/// What every bundle is, the framework itself among them.
class BundlePrivate : public std::enable_shared_from_this<BundlePrivate> {
 public:
  BundlePrivate(std::shared_ptr<CoreBundleContext> const& core, long id, std::string location,
                std::string symbolicName, BundleVersion const& version, AnyMap headers);
  virtual ~BundlePrivate() = default;

  virtual void start(std::uint32_t options) = 0;
  virtual void stop(std::uint32_t options) = 0;
  virtual void uninstall() = 0;

  std::shared_ptr<CoreBundleContext> core() const { return core_.lock(); }
  std::shared_ptr<BundleContextPrivate> context() const;
  Bundle::State state() const { return state_; }

  long const id;
  std::string const location;
  std::string const symbolicName;
  BundleVersion const version;
  AnyMap const headers;

 protected:
  void makeContext();
  /// Ends the context and unregisters the services.
  void release();

  std::recursive_mutex operation_;
  std::atomic<Bundle::State> state_ = Bundle::STATE_INSTALLED;

 private:
  std::weak_ptr<CoreBundleContext> const core_;
  mutable std::mutex contextLock_;
  std::shared_ptr<BundleContextPrivate> context_;
};

/// A bundle from a DLL.
class InstalledBundle final : public BundlePrivate {
 public:
  using BundlePrivate::BundlePrivate;
  void start(std::uint32_t options) override;
  void stop(std::uint32_t options) override;
  void uninstall() override;
  /// Stops it, whatever its activator throws, and leaves it as it was installed.
  void stopWithFramework();

 private:
  using Destroy = void(BundleActivator*);
  using SetContext = void(BundleContextPrivate*);

  std::string described() const;
  void activate();
  /// The text of what the activator threw, if it did.
  std::optional<std::string> deactivate();
  void end();

  std::optional<Library> library_;
  SetContext* setContext_ = nullptr;
  std::unique_ptr<BundleActivator, Destroy*> activator_{nullptr, nullptr};
};

/// The framework as a bundle.
class SystemBundle final : public BundlePrivate {
 public:
  explicit SystemBundle(std::shared_ptr<CoreBundleContext> const& core);
  void init();
  void start(std::uint32_t options) override;
  void stop(std::uint32_t options) override;
  void uninstall() override;
  /// Whether bundles may be installed and started.
  bool isRunning() const;
  /// False when the time is over first; a time of 0 is without end.
  bool waitForStop(std::chrono::milliseconds timeout);

 private:
  std::mutex waiting_;
  std::condition_variable stopped_;
};

/// A framework: its bundles and its registry of services.
class CoreBundleContext : public std::enable_shared_from_this<CoreBundleContext> {
 public:
  static std::shared_ptr<CoreBundleContext> make();
  SystemBundle& systemBundle() const { return *systemBundle_; }
  std::shared_ptr<SystemBundle> const& systemBundlePointer() const { return systemBundle_; }

  std::vector<std::shared_ptr<BundlePrivate>> install(std::string const& location);
  void forget(InstalledBundle const& bundle);
  void forgetAll();
  /// In the order of their ids.
  std::vector<std::shared_ptr<BundlePrivate>> bundles() const;
  std::vector<std::shared_ptr<InstalledBundle>> installedBundles() const;

  using Service = std::shared_ptr<RegisteredService>;
  Service registerService(BundleContextPrivate const& context, InterfaceMapConstPtr const& service,
                          ServiceProperties const& properties);
  void unregister(RegisteredService& service);
  void unregisterAllOf(BundlePrivate const& bundle);
  void reorder();
  std::vector<Service> services(std::string const& interfaceId, std::string const& filter) const;
  std::vector<Service> servicesOf(BundlePrivate const& bundle) const;

 private:
  using Services = std::vector<Service>;
  static void insertInOrder(Services& services, Service const& service);
  std::shared_ptr<InstalledBundle> read(std::string const& location);
  void refuseDuplicate(InstalledBundle const& bundle) const;

  std::shared_ptr<SystemBundle> systemBundle_;
  mutable std::mutex registry_;
  std::vector<std::shared_ptr<InstalledBundle>> bundles_;
  Services services_;  ///< what is found first comes first, here and below
  std::unordered_map<std::string, Services> servicesByInterface_;
  long nextBundle_ = 1;
  long nextService_ = 1;
};

/// The text of the exception being handled.
std::string currentExceptionText();

/// A to Z without regard to case.
bool equalIgnoringCase(std::string_view a, std::string_view b);

}  // namespace cppmicroservices
