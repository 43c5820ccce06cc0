#include <algorithm>
#include <stdexcept>

#include "core.hpp"
#include "cppmicroservices/Constants.h"
#include "cppmicroservices/Framework.h"
#include "cppmicroservices/FrameworkEvent.h"
#include "cppmicroservices/FrameworkFactory.h"
#include "cppmicroservices/ServiceObjects.h"

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>

#include <cstdlib>
#endif

namespace cppmicroservices {

namespace Constants {
std::string const SYSTEM_BUNDLE_LOCATION = "System Bundle";
std::string const SYSTEM_BUNDLE_SYMBOLICNAME = "system_bundle";
std::string const BUNDLE_ACTIVATOR = "bundle.activator";
std::string const BUNDLE_SYMBOLICNAME = "bundle.symbolic_name";
std::string const BUNDLE_VERSION = "bundle.version";
std::string const OBJECTCLASS = "objectclass";
std::string const SERVICE_ID = "service.id";
std::string const SERVICE_RANKING = "service.ranking";
std::string const SERVICE_SCOPE = "service.scope";
std::string const SCOPE_SINGLETON = "singleton";
}  // namespace Constants

namespace {

char lower(char unit) {
  return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
}

BundleContextPrivate& require(std::shared_ptr<BundleContextPrivate> const& context) {
  if (!context) {
    throw std::runtime_error("The bundle context is no longer valid");
  }
  return *context;
}

BundlePrivate& require(std::shared_ptr<BundlePrivate> const& bundle) {
  if (!bundle) {
    throw std::invalid_argument("invalid bundle");
  }
  return *bundle;
}

std::shared_ptr<void> objectOf(RegisteredService const& service, std::string const& interfaceId) {
  auto const interfaces = service.interfaces();
  if (!interfaces) {
    return nullptr;
  }
  auto const found = interfaceId.empty() ? interfaces->begin() : interfaces->find(interfaceId);
  return found == interfaces->end() ? nullptr : found->second;
}

}  // namespace

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

bool detail::LessIgnoringCase::operator()(std::string const& a, std::string const& b) const {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char x, char y) { return lower(x) < lower(y); });
}

std::string detail::GetDemangledName(std::type_info const& typeInfo) {
#if __has_include(<cxxabi.h>)
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> const name(
      abi::__cxa_demangle(typeInfo.name(), nullptr, nullptr, &status), std::free);
  return name ? name.get() : typeInfo.name();
#else
  std::string name = typeInfo.name();
  for (std::string_view const prefix : {"class ", "struct "}) {
    if (name.starts_with(prefix)) {
      name.erase(0, prefix.size());
    }
  }
  return name;
#endif
}

BadAnyCastException::BadAnyCastException(BadAnyCastException const&) = default;
BadAnyCastException::~BadAnyCastException() = default;

ServiceException::ServiceException(std::string const& message, Type const& type)
    : std::runtime_error(message), type_(type) {}
ServiceException::ServiceException(ServiceException const&) = default;
ServiceException& ServiceException::operator=(ServiceException const&) = default;
ServiceException::~ServiceException() = default;
ServiceException::Type ServiceException::GetType() const {
  return type_;
}

// ServiceReferenceBase

ServiceReferenceBase::ServiceReferenceBase() = default;
ServiceReferenceBase::ServiceReferenceBase(std::shared_ptr<RegisteredService> service,
                                           std::string interfaceId)
    : service_(std::move(service)), interfaceId_(std::move(interfaceId)) {}
ServiceReferenceBase::ServiceReferenceBase(ServiceReferenceBase const&) = default;
ServiceReferenceBase& ServiceReferenceBase::operator=(ServiceReferenceBase const&) = default;
ServiceReferenceBase::~ServiceReferenceBase() = default;

ServiceReferenceBase& ServiceReferenceBase::operator=(std::nullptr_t) {
  service_.reset();
  interfaceId_.clear();
  return *this;
}

ServiceReferenceBase::operator bool() const {
  return service_ && service_->bundle();
}

Any ServiceReferenceBase::GetProperty(std::string const& key) const {
  return service_ ? service_->property(key) : Any();
}

std::vector<std::string> ServiceReferenceBase::GetPropertyKeys() const {
  std::vector<std::string> keys;
  if (service_) {
    for (auto const& [name, value] : service_->properties()) {
      keys.push_back(name);
    }
  }
  return keys;
}

Bundle MakeBundle(std::shared_ptr<BundlePrivate> const& bundle) {
  return Bundle(bundle);
}

Bundle ServiceReferenceBase::GetBundle() const {
  return MakeBundle(service_ ? service_->bundle() : nullptr);
}

std::string ServiceReferenceBase::GetInterfaceId() const {
  return interfaceId_;
}

bool ServiceReferenceBase::IsConvertibleTo(std::string const& interfaceId) const {
  auto const interfaces = service_ ? service_->interfaces() : nullptr;
  return interfaces && interfaces->contains(interfaceId);
}

bool ServiceReferenceBase::operator<(ServiceReferenceBase const& other) const {
  if (!service_ || !other.service_) {
    return !service_ && other.service_;
  }
  return service_ != other.service_ && other.service_->precedes(*service_);
}

bool ServiceReferenceBase::operator==(ServiceReferenceBase const& other) const {
  return service_ == other.service_;
}

std::size_t ServiceReferenceBase::Hash() const {
  return std::hash<void const*>()(service_.get());
}

void ServiceReferenceBase::SetInterfaceId(std::string const& interfaceId) {
  interfaceId_ = interfaceId;
}

std::ostream& operator<<(std::ostream& out, ServiceReferenceBase const& reference) {
  if (!reference) {
    return out << "Invalid service reference";
  }
  return out << "Reference for service object registered from "
             << reference.GetBundle().GetSymbolicName();
}

// ServiceRegistrationBase

ServiceRegistrationBase::ServiceRegistrationBase() = default;
ServiceRegistrationBase::ServiceRegistrationBase(std::shared_ptr<RegisteredService> service)
    : service_(std::move(service)) {}
ServiceRegistrationBase::ServiceRegistrationBase(ServiceRegistrationBase const&) = default;
ServiceRegistrationBase& ServiceRegistrationBase::operator=(ServiceRegistrationBase const&) =
    default;
ServiceRegistrationBase::~ServiceRegistrationBase() = default;

ServiceRegistrationBase& ServiceRegistrationBase::operator=(std::nullptr_t) {
  service_.reset();
  return *this;
}

ServiceRegistrationBase::operator bool() const {
  return service_ != nullptr;
}

namespace {

/// The framework of a service that is still registered.
std::shared_ptr<CoreBundleContext> frameworkOf(std::shared_ptr<RegisteredService> const& service) {
  if (!service) {
    throw std::logic_error("ServiceRegistrationBase object invalid");
  }
  auto core = service->core();
  if (!core || !service->bundle()) {
    throw std::logic_error("Service is unregistered");
  }
  return core;
}

}  // namespace

ServiceReferenceBase ServiceRegistrationBase::GetReference(std::string const& interfaceId) const {
  frameworkOf(service_);
  return {service_, interfaceId};
}

void ServiceRegistrationBase::SetProperties(ServiceProperties const& properties) {
  auto const core = frameworkOf(service_);
  service_->setProperties(properties);
  core->reorder();
}

void ServiceRegistrationBase::Unregister() {
  frameworkOf(service_)->unregister(*service_);
}

bool ServiceRegistrationBase::operator<(ServiceRegistrationBase const& other) const {
  return ServiceReferenceBase(service_, {}) < ServiceReferenceBase(other.service_, {});
}

bool ServiceRegistrationBase::operator==(ServiceRegistrationBase const& other) const {
  return service_ == other.service_;
}

// ServiceObjectsBase

ServiceObjectsBase::ServiceObjectsBase(std::shared_ptr<BundleContextPrivate> const& context,
                                       ServiceReferenceBase const& reference)
    : context_(context), reference_(reference) {
  if (!reference) {
    throw std::invalid_argument("The service reference is invalid");
  }
}
ServiceObjectsBase::ServiceObjectsBase(ServiceObjectsBase&&) noexcept = default;
ServiceObjectsBase& ServiceObjectsBase::operator=(ServiceObjectsBase&&) noexcept = default;
ServiceObjectsBase::~ServiceObjectsBase() = default;

std::shared_ptr<void> ServiceObjectsBase::GetService() const {
  context_->bundle();
  return objectOf(*reference_.service_, reference_.interfaceId_);
}

ServiceReferenceBase ServiceObjectsBase::GetReference() const {
  return reference_;
}

// BundleContext

BundleContext::BundleContext() = default;
BundleContext::BundleContext(std::shared_ptr<BundleContextPrivate> context)
    : d(std::move(context)) {}

BundleContext MakeBundleContext(BundleContextPrivate* context) {
  return BundleContext(context == nullptr ? nullptr : context->shared_from_this());
}

BundleContext::operator bool() const {
  return d && d->isValid();
}

BundleContext& BundleContext::operator=(std::nullptr_t) {
  d.reset();
  return *this;
}

bool BundleContext::operator==(BundleContext const& other) const {
  return d == other.d;
}

bool BundleContext::operator<(BundleContext const& other) const {
  return d < other.d;
}

Bundle BundleContext::GetBundle() const {
  return MakeBundle(require(d).bundle());
}

Bundle BundleContext::GetBundle(long id) const {
  for (auto const& bundle : require(d).core()->bundles()) {
    if (bundle->id == id) {
      return MakeBundle(bundle);
    }
  }
  return {};
}

std::vector<Bundle> BundleContext::GetBundles(std::string const& location) const {
  auto all = GetBundles();
  std::erase_if(all, [&](Bundle const& bundle) { return bundle.GetLocation() != location; });
  return all;
}

std::vector<Bundle> BundleContext::GetBundles() const {
  std::vector<Bundle> all;
  for (auto const& bundle : require(d).core()->bundles()) {
    all.push_back(MakeBundle(bundle));
  }
  return all;
}

std::vector<Bundle> BundleContext::InstallBundles(std::string const& location) {
  std::vector<Bundle> installed;
  for (auto const& bundle : require(d).core()->install(location)) {
    installed.push_back(MakeBundle(bundle));
  }
  return installed;
}

ServiceRegistrationU BundleContext::RegisterService(InterfaceMapConstPtr const& service,
                                                    ServiceProperties const& properties) {
  auto& context = require(d);
  return ServiceRegistrationBase(context.core()->registerService(context, service, properties));
}

std::vector<ServiceReferenceU> BundleContext::GetServiceReferences(std::string const& interfaceId,
                                                                   std::string const& filter) {
  std::vector<ServiceReferenceU> references;
  for (auto& service : require(d).core()->services(interfaceId, filter)) {
    references.emplace_back(ServiceReferenceBase(std::move(service), interfaceId));
  }
  return references;
}

ServiceReferenceU BundleContext::GetServiceReference(std::string const& interfaceId) {
  auto const all = GetServiceReferences(interfaceId);
  return all.empty() ? ServiceReferenceU() : all.front();
}

namespace {

/// Throws when the service cannot be had through the context.
void requireBoth(std::shared_ptr<BundleContextPrivate> const& context,
                 ServiceReferenceBase const& reference) {
  if (!reference) {
    throw std::invalid_argument(
        "Default constructed ServiceReference is not a valid input to GetService()");
  }
  require(context).bundle();
}

}  // namespace

std::shared_ptr<void> BundleContext::GetService(ServiceReferenceBase const& reference) {
  requireBoth(d, reference);
  return objectOf(*reference.service_, reference.interfaceId_);
}

InterfaceMapConstPtr BundleContext::GetService(ServiceReferenceU const& reference) {
  requireBoth(d, reference);
  return reference.service_->interfaces();
}

// Bundle

Bundle::Bundle() = default;
Bundle::Bundle(Bundle const&) = default;
Bundle::Bundle(Bundle&&) noexcept = default;
Bundle& Bundle::operator=(Bundle const&) = default;
Bundle& Bundle::operator=(Bundle&&) noexcept = default;
Bundle::Bundle(std::shared_ptr<BundlePrivate> const& bundle)
    : d(bundle), c(bundle ? bundle->core() : nullptr) {}
Bundle::~Bundle() = default;

Bundle& Bundle::operator=(std::nullptr_t) {
  d.reset();
  c.reset();
  return *this;
}

Bundle::operator bool() const {
  return d != nullptr;
}

bool Bundle::operator==(Bundle const& other) const {
  return d == other.d;
}

bool Bundle::operator<(Bundle const& other) const {
  return d && other.d ? d->id < other.d->id : !d && other.d;
}

Bundle::State Bundle::GetState() const {
  return require(d).state();
}

BundleContext Bundle::GetBundleContext() const {
  return BundleContext(require(d).context());
}

long Bundle::GetBundleId() const {
  return require(d).id;
}

std::string Bundle::GetLocation() const {
  return require(d).location;
}

std::string Bundle::GetSymbolicName() const {
  return require(d).symbolicName;
}

BundleVersion Bundle::GetVersion() const {
  return require(d).version;
}

AnyMap const& Bundle::GetHeaders() const {
  return require(d).headers;
}

std::vector<ServiceReferenceU> Bundle::GetRegisteredServices() const {
  std::vector<ServiceReferenceU> references;
  auto const& bundle = require(d);
  for (auto& service : c ? c->servicesOf(bundle) : std::vector<CoreBundleContext::Service>()) {
    references.emplace_back(ServiceReferenceBase(std::move(service), {}));
  }
  return references;
}

void Bundle::Start(std::uint32_t options) {
  require(d).start(options);
}

void Bundle::Start() {
  Start(0);
}

void Bundle::Stop(std::uint32_t options) {
  require(d).stop(options);
}

void Bundle::Stop() {
  Stop(0);
}

void Bundle::Uninstall() {
  require(d).uninstall();
}

std::ostream& operator<<(std::ostream& out, Bundle const& bundle) {
  return out << "Bundle[id=" << bundle.GetBundleId() << ", loc=" << bundle.GetLocation()
             << ", name=" << bundle.GetSymbolicName() << "]";
}

std::ostream& operator<<(std::ostream& out, Bundle::State state) {
  switch (state) {
    case Bundle::STATE_UNINSTALLED:
      return out << "UNINSTALLED";
    case Bundle::STATE_INSTALLED:
      return out << "INSTALLED";
    case Bundle::STATE_RESOLVED:
      return out << "RESOLVED";
    case Bundle::STATE_STARTING:
      return out << "STARTING";
    case Bundle::STATE_STOPPING:
      return out << "STOPPING";
    case Bundle::STATE_ACTIVE:
      return out << "ACTIVE";
  }
  return out << "unknown bundle state";
}

// Framework

FrameworkEvent::FrameworkEvent(Type type, Bundle const& bundle, std::string const& message,
                               std::exception_ptr const& exception)
    : type_(type), bundle_(bundle), message_(message), exception_(exception) {}

Framework::Framework(Bundle bundle) : Bundle(std::move(bundle)) {
  if (!d || d->id != 0) {
    throw std::logic_error("Not a framework bundle");
  }
}
Framework::Framework(std::shared_ptr<CoreBundleContext> const& core)
    : Bundle(core->systemBundlePointer()) {}
Framework::Framework(Framework const&) = default;
Framework::Framework(Framework&&) noexcept = default;
Framework& Framework::operator=(Framework const&) = default;
Framework& Framework::operator=(Framework&&) noexcept = default;
Framework::~Framework() = default;

void Framework::Init() {
  require(d);
  c->systemBundle().init();
}

FrameworkEvent Framework::WaitForStop(std::chrono::milliseconds const& timeout) {
  require(d);
  bool const isStopped = c->systemBundle().waitForStop(timeout);
  return {isStopped ? FrameworkEvent::FRAMEWORK_STOPPED : FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT,
          *this, ""};
}

Framework FrameworkFactory::NewFramework() {
  return Framework(CoreBundleContext::make());
}

}  // namespace cppmicroservices
