#include <stdexcept>

#include "core.hpp"
#include "cppmicroservices/Constants.h"

namespace cppmicroservices {

BundlePrivate::BundlePrivate(std::shared_ptr<CoreBundleContext> const& core, long givenId,
                             std::string givenLocation, std::string givenName,
                             BundleVersion const& givenVersion, AnyMap givenHeaders)
    : id(givenId),
      location(std::move(givenLocation)),
      symbolicName(std::move(givenName)),
      version(givenVersion),
      headers(std::move(givenHeaders)),
      core_(core) {}

std::shared_ptr<BundleContextPrivate> BundlePrivate::context() const {
  std::lock_guard const lock(contextLock_);
  return context_;
}

void BundlePrivate::makeContext() {
  std::lock_guard const lock(contextLock_);
  context_ = std::make_shared<BundleContextPrivate>(core_, weak_from_this());
}

void BundlePrivate::release() {
  if (auto const ending = context()) {
    ending->invalidate();
  }
  if (auto const framework = core()) {
    framework->unregisterAllOf(*this);
  }
  std::lock_guard const lock(contextLock_);
  context_.reset();
}

std::string InstalledBundle::described() const {
  return "Bundle " + symbolicName + " (location=" + location + ")";
}

void InstalledBundle::start(std::uint32_t) {
  std::lock_guard const lock(operation_);
  if (state_ == Bundle::STATE_UNINSTALLED) {
    throw std::logic_error(described() + " is uninstalled");
  }
  auto const framework = core();
  if (!framework || !framework->systemBundle().isRunning()) {
    throw std::runtime_error(described() + " belongs to a stopped framework");
  }
  if (state_ == Bundle::STATE_STOPPING) {
    throw std::runtime_error(described() + ", start called from BundleActivator::Stop");
  }
  if (state_ == Bundle::STATE_ACTIVE || state_ == Bundle::STATE_STARTING) {
    return;
  }
  state_ = Bundle::STATE_STARTING;
  try {
    makeContext();
    activate();
    if (!framework->systemBundle().isRunning()) {
      throw std::runtime_error("the framework was stopped meanwhile");
    }
    state_ = Bundle::STATE_ACTIVE;
  } catch (...) {
    auto const text = currentExceptionText();
    end();
    throw std::runtime_error(described() + " start failed: " + text);
  }
}

void InstalledBundle::activate() {
  auto const wish = headers.find(Constants::BUNDLE_ACTIVATOR);
  auto const* hasActivator = wish == headers.end() ? nullptr : any_cast<bool>(&wish->second);
  if (hasActivator == nullptr || !*hasActivator) {
    return;
  }
  if (!library_) {
    library_.emplace(location);
  }
  auto* const create =
      library_->find<BundleActivator*()>(US_STR(US_CREATE_ACTIVATOR_PREFIX) + symbolicName);
  auto* const destroy = library_->find<Destroy>(US_STR(US_DESTROY_ACTIVATOR_PREFIX) + symbolicName);
  if (create == nullptr || destroy == nullptr) {
    throw std::runtime_error("activator " +
                             std::string(create == nullptr ? "constructor" : "destructor") +
                             " not found");
  }
  setContext_ = library_->find<SetContext>(US_STR(US_SET_CTX_PREFIX) + symbolicName);
  if (setContext_ != nullptr) {
    setContext_(context().get());
  }
  activator_ = {create(), destroy};
  activator_->Start(MakeBundleContext(context().get()));
}

void InstalledBundle::stop(std::uint32_t) {
  std::lock_guard const lock(operation_);
  if (state_ == Bundle::STATE_UNINSTALLED) {
    throw std::logic_error(described() + " is uninstalled");
  }
  if (state_ == Bundle::STATE_STARTING) {
    throw std::logic_error(described() + ", stop called from BundleActivator::Start");
  }
  if (state_ != Bundle::STATE_ACTIVE) {
    return;
  }
  state_ = Bundle::STATE_STOPPING;
  auto const failure = deactivate();
  end();
  if (failure) {
    throw std::runtime_error(described() + ", BundleActivator::Stop() failed: " + *failure);
  }
}

std::optional<std::string> InstalledBundle::deactivate() {
  try {
    if (activator_) {
      activator_->Stop(MakeBundleContext(context().get()));
    }
    return {};
  } catch (...) {
    return currentExceptionText();
  }
}

void InstalledBundle::end() {
  state_ = Bundle::STATE_STOPPING;
  activator_.reset();
  release();
  if (setContext_ != nullptr) {
    setContext_(nullptr);
  }
  state_ = Bundle::STATE_RESOLVED;
}

void InstalledBundle::stopWithFramework() {
  std::lock_guard const lock(operation_);
  if (state_ == Bundle::STATE_UNINSTALLED) {
    return;
  }
  try {
    stop(0);
  } catch (std::exception const&) {
    // The others are stopped all the same.
  }
  state_ = Bundle::STATE_INSTALLED;
}

void InstalledBundle::uninstall() {
  std::lock_guard const lock(operation_);
  try {
    stop(0);
  } catch (std::runtime_error const&) {
    // The activator's trouble; the bundle is stopped.
  }
  state_ = Bundle::STATE_UNINSTALLED;
  if (auto const framework = core()) {
    framework->forget(*this);
  }
}

SystemBundle::SystemBundle(std::shared_ptr<CoreBundleContext> const& framework)
    : BundlePrivate(framework, 0, Constants::SYSTEM_BUNDLE_LOCATION,
                    Constants::SYSTEM_BUNDLE_SYMBOLICNAME, BundleVersion(3, 8, 0), AnyMap()) {}

void SystemBundle::init() {
  std::lock_guard const lock(operation_);
  if (state_ == Bundle::STATE_INSTALLED || state_ == Bundle::STATE_RESOLVED) {
    makeContext();
    state_ = Bundle::STATE_STARTING;
  }
}

void SystemBundle::start(std::uint32_t) {
  std::lock_guard const lock(operation_);
  init();
  if (state_ == Bundle::STATE_STARTING) {
    state_ = Bundle::STATE_ACTIVE;
  }
}

void SystemBundle::stop(std::uint32_t) {
  if (state_ == Bundle::STATE_STOPPING) {
    return;  // Under way: a bundle that asks for it while it is being stopped must not wait.
  }
  std::lock_guard const lock(operation_);
  if (!isRunning()) {
    return;
  }
  state_ = Bundle::STATE_STOPPING;
  auto const bundles = core()->installedBundles();
  for (auto bundle = bundles.rbegin(); bundle != bundles.rend(); ++bundle) {
    (*bundle)->stopWithFramework();
  }
  core()->forgetAll();
  release();
  {
    std::lock_guard const waiting(waiting_);
    state_ = Bundle::STATE_RESOLVED;
  }
  stopped_.notify_all();
}

void SystemBundle::uninstall() {
  throw std::runtime_error("Cannot uninstall a system bundle.");
}

bool SystemBundle::isRunning() const {
  return state_ == Bundle::STATE_STARTING || state_ == Bundle::STATE_ACTIVE;
}

bool SystemBundle::waitForStop(std::chrono::milliseconds timeout) {
  auto const isStopped = [this] {
    return state_ == Bundle::STATE_INSTALLED || state_ == Bundle::STATE_RESOLVED;
  };
  std::unique_lock lock(waiting_);
  if (timeout == std::chrono::milliseconds::zero()) {
    stopped_.wait(lock, isStopped);
    return true;
  }
  return stopped_.wait_for(lock, timeout, isStopped);
}

}  // namespace cppmicroservices
