#include "core.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "cppmicroservices/Constants.h"
#include "cppmicroservices/LDAPFilter.h"
#include "manifest.hpp"

namespace cppmicroservices {

namespace {

constexpr auto notValid = "The bundle context is no longer valid";

template <typename Part>
std::shared_ptr<Part> requireValid(std::shared_ptr<Part> part, bool valid) {
  if (!part || !valid) {
    throw std::runtime_error(notValid);
  }
  return part;
}

int rankingIn(AnyMap const& properties) {
  auto const found = properties.find(Constants::SERVICE_RANKING);
  if (found == properties.end() || found->second.Empty()) {
    return 0;
  }
  auto const* ranking = any_cast<int>(&found->second);
  if (ranking == nullptr) {
    throw std::invalid_argument(Constants::SERVICE_RANKING + " must be an int");
  }
  return *ranking;
}

AnyMap headersIn(std::string const& manifest, std::string const& location) {
  try {
    return parsedManifest(manifest);
  } catch (std::exception const& failure) {
    throw std::runtime_error("Parsing of manifest.json for bundle at " + location +
                             " failed: " + failure.what());
  }
}

std::string symbolicNameIn(AnyMap const& headers, std::string const& location) {
  auto const found = headers.find(Constants::BUNDLE_SYMBOLICNAME);
  if (found == headers.end()) {
    throw std::invalid_argument(Constants::BUNDLE_SYMBOLICNAME +
                                " is not defined in the bundle manifest (location=" + location +
                                ").");
  }
  auto const* name = any_cast<std::string>(&found->second);
  if (name == nullptr || name->empty()) {
    throw std::invalid_argument(Constants::BUNDLE_SYMBOLICNAME +
                                " is empty in the bundle manifest (location=" + location + ").");
  }
  return *name;
}

BundleVersion versionIn(AnyMap const& headers, std::string const& bundle) {
  auto const found = headers.find(Constants::BUNDLE_VERSION);
  if (found == headers.end()) {
    return BundleVersion::EmptyVersion();
  }
  auto const refusal = [&](std::string const& reason) {
    return std::invalid_argument("The Json value for " + Constants::BUNDLE_VERSION + " for " +
                                 bundle + " is not valid: The version identifier " + reason);
  };
  auto const* text = any_cast<std::string>(&found->second);
  if (text == nullptr) {
    throw refusal("must be a string");
  }
  try {
    return BundleVersion(*text);
  } catch (std::invalid_argument const& failure) {
    throw refusal(std::string("is invalid: ") + failure.what());
  }
}

}  // namespace

std::string currentExceptionText() {
  try {
    throw;
  } catch (std::exception const& failure) {
    return failure.what();
  } catch (...) {
    return "unknown exception";
  }
}

RegisteredService::RegisteredService(std::shared_ptr<CoreBundleContext> const& core,
                                     std::shared_ptr<BundlePrivate> const& bundle,
                                     InterfaceMapConstPtr interfaces,
                                     ServiceProperties const& properties, long id)
    : core_(core), id_(id), bundle_(bundle), interfaces_(std::move(interfaces)) {
  for (auto const& [interfaceId, object] : *interfaces_) {
    interfaceIds_.push_back(interfaceId);
  }
  setProperties(properties);
}

std::shared_ptr<BundlePrivate> RegisteredService::bundle() const {
  std::lock_guard const lock(lock_);
  return bundle_.lock();
}

InterfaceMapConstPtr RegisteredService::interfaces() const {
  std::lock_guard const lock(lock_);
  return interfaces_;
}

AnyMap RegisteredService::properties() const {
  std::lock_guard const lock(lock_);
  return properties_;
}

Any RegisteredService::property(std::string const& name) const {
  std::lock_guard const lock(lock_);
  auto const found = properties_.find(name);
  return found == properties_.end() ? Any() : found->second;
}

void RegisteredService::setProperties(ServiceProperties const& properties) {
  auto completed = complete(properties);
  int const ranking = rankingIn(completed);
  std::lock_guard const lock(lock_);
  properties_ = std::move(completed);
  ranking_ = ranking;
}

void RegisteredService::retire() {
  InterfaceMapConstPtr released;  // may run the service's destructor: not under the lock
  std::lock_guard const lock(lock_);
  bundle_.reset();
  released.swap(interfaces_);
}

bool RegisteredService::precedes(RegisteredService const& other) const {
  int const mine = ranking_;
  int const others = other.ranking_;
  return mine != others ? mine > others : id_ < other.id_;
}

AnyMap RegisteredService::complete(ServiceProperties const& properties) const {
  auto all = properties;
  all.insert_or_assign(Constants::OBJECTCLASS, interfaceIds_);
  all.insert_or_assign(Constants::SERVICE_ID, id_);
  all.insert_or_assign(Constants::SERVICE_SCOPE, Constants::SCOPE_SINGLETON);
  AnyMap completed;
  for (auto const& [name, value] : all) {
    if (!completed.emplace(name, value).second) {
      throw std::runtime_error("Properties contain case variants of the key: " + name);
    }
  }
  return completed;
}

std::shared_ptr<CoreBundleContext> BundleContextPrivate::core() const {
  return requireValid(core_.lock(), valid_);
}

std::shared_ptr<BundlePrivate> BundleContextPrivate::bundle() const {
  return requireValid(bundle_.lock(), valid_);
}

std::shared_ptr<CoreBundleContext> CoreBundleContext::make() {
  auto core = std::make_shared<CoreBundleContext>();
  core->systemBundle_ = std::make_shared<SystemBundle>(core);
  return core;
}

std::vector<std::shared_ptr<BundlePrivate>> CoreBundleContext::install(
    std::string const& location) {
  if (!systemBundle_->isRunning()) {
    throw std::logic_error("This framework instance is not active.");
  }
  // Held while the file is read, so that two threads do not install it twice.
  std::lock_guard const lock(registry_);
  for (auto const& bundle : bundles_) {
    if (bundle->location == location) {
      return {bundle};
    }
  }
  bundles_.push_back(read(location));
  ++nextBundle_;
  return {bundles_.back()};
}

std::shared_ptr<InstalledBundle> CoreBundleContext::read(std::string const& location) {
  auto const manifest = embeddedManifest(location);
  if (!manifest) {
    // The words by which callers know a file that is no bundle.
    throw std::runtime_error("Could not init zip archive for bundle at " + location);
  }
  try {
    AnyMap const headers = headersIn(*manifest, location);
    auto const name = symbolicNameIn(headers, location);
    auto const version = versionIn(headers, "bundle " + name + " (location=" + location + ")");
    auto bundle = std::make_shared<InstalledBundle>(shared_from_this(), nextBundle_, location, name,
                                                    version, headers);
    refuseDuplicate(*bundle);
    return bundle;
  } catch (std::exception const& failure) {
    throw std::runtime_error("Failed to install bundle library at " + location + ": " +
                             failure.what());
  }
}

void CoreBundleContext::refuseDuplicate(InstalledBundle const& bundle) const {
  for (auto const& other : bundles_) {
    if (other->symbolicName == bundle.symbolicName && other->version == bundle.version) {
      throw std::invalid_argument("Bundle " + bundle.symbolicName +
                                  " (location=" + bundle.location +
                                  "), a bundle with same symbolic name and version is already "
                                  "installed (" +
                                  bundle.symbolicName + ", " + bundle.version.ToString() + ")");
    }
  }
}

void CoreBundleContext::forget(InstalledBundle const& bundle) {
  std::lock_guard const lock(registry_);
  std::erase_if(bundles_, [&](auto const& installed) { return installed.get() == &bundle; });
}

void CoreBundleContext::forgetAll() {
  std::vector<std::shared_ptr<InstalledBundle>> forgotten;  // not destroyed under the lock
  std::lock_guard const lock(registry_);
  forgotten.swap(bundles_);
}

std::vector<std::shared_ptr<BundlePrivate>> CoreBundleContext::bundles() const {
  std::lock_guard const lock(registry_);
  std::vector<std::shared_ptr<BundlePrivate>> all{systemBundle_};
  all.insert(all.end(), bundles_.begin(), bundles_.end());
  return all;
}

std::vector<std::shared_ptr<InstalledBundle>> CoreBundleContext::installedBundles() const {
  std::lock_guard const lock(registry_);
  return bundles_;
}

CoreBundleContext::Service CoreBundleContext::registerService(BundleContextPrivate const& context,
                                                              InterfaceMapConstPtr const& service,
                                                              ServiceProperties const& properties) {
  if (!service || service->empty()) {
    throw std::invalid_argument("Can't register empty InterfaceMap as a service");
  }
  for (auto const& [interfaceId, object] : *service) {
    if (interfaceId.empty() || object == nullptr) {
      throw std::invalid_argument("Can't register as null class");
    }
  }
  std::lock_guard const lock(registry_);
  // Asked under the lock: a bundle that is being stopped leaves no service behind.
  auto registered = std::make_shared<RegisteredService>(shared_from_this(), context.bundle(),
                                                        service, properties, nextService_);
  ++nextService_;
  insertInOrder(services_, registered);
  for (auto const& interfaceId : registered->interfaceIds()) {
    insertInOrder(servicesByInterface_[interfaceId], registered);
  }
  return registered;
}

void CoreBundleContext::insertInOrder(Services& services, Service const& service) {
  auto const follows = [](Service const& a, Service const& b) { return a->precedes(*b); };
  services.insert(std::upper_bound(services.begin(), services.end(), service, follows), service);
}

void CoreBundleContext::unregister(RegisteredService& service) {
  auto const isIt = [&](Service const& other) { return other.get() == &service; };
  Services kept;  // so that no destructor runs under the lock
  {
    std::lock_guard const lock(registry_);
    auto const found = std::find_if(services_.begin(), services_.end(), isIt);
    if (found == services_.end()) {
      throw std::logic_error("Service is unregistered");
    }
    kept.push_back(*found);
    services_.erase(found);
    for (auto const& interfaceId : service.interfaceIds()) {
      std::erase_if(servicesByInterface_[interfaceId], isIt);
    }
  }
  service.retire();
}

void CoreBundleContext::unregisterAllOf(BundlePrivate const& bundle) {
  for (auto const& service : servicesOf(bundle)) {
    try {
      unregister(*service);
    } catch (std::logic_error const&) {
      // Another thread did.
    }
  }
}

void CoreBundleContext::reorder() {
  auto const inOrder = [](Services& services) {
    std::stable_sort(services.begin(), services.end(),
                     [](Service const& a, Service const& b) { return a->precedes(*b); });
  };
  std::lock_guard const lock(registry_);
  inOrder(services_);
  for (auto& [interfaceId, services] : servicesByInterface_) {
    inOrder(services);
  }
}

std::vector<CoreBundleContext::Service> CoreBundleContext::services(
    std::string const& interfaceId, std::string const& filter) const {
  std::optional<LDAPFilter> condition;
  if (!filter.empty()) {
    condition.emplace(filter);
  }
  Services found;
  {
    std::lock_guard const lock(registry_);
    if (interfaceId.empty()) {
      found = services_;
    } else if (auto const known = servicesByInterface_.find(interfaceId);
               known != servicesByInterface_.end()) {
      found = known->second;
    }
  }
  if (condition) {
    std::erase_if(found,
                  [&](Service const& service) { return !condition->Match(service->properties()); });
  }
  return found;
}

std::vector<CoreBundleContext::Service> CoreBundleContext::servicesOf(
    BundlePrivate const& bundle) const {
  std::lock_guard const lock(registry_);
  Services found;
  std::copy_if(services_.begin(), services_.end(), std::back_inserter(found),
               [&](Service const& service) { return service->bundle().get() == &bundle; });
  return found;
}

}  // namespace cppmicroservices
